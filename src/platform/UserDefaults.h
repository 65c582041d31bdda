#pragma once

#include "platform/Availability.h"
#include "platform/Result.h"

#include <QByteArray>
#include <QDateTime>
#include <QObject>
#include <QString>
#include <QVariant>

#include <optional>

namespace cobblet {

/// One domain of typed preferences, shared with every other process that opens the same domain. Readers see
/// the stored value, else the registered default, else absent. A value of another type than the one asked
/// for is absent, except that an integer 0 or 1 reads as a Boolean and a Boolean as an integer. Main thread.
class UserDefaults : public QObject {
    Q_OBJECT
public:
    /// A bool, qint64, double, QString or QByteArray; absent when neither stored nor registered.
    virtual std::optional<QVariant> object(const QString &key) const = 0;
    /// Whether the key is stored (registered defaults do not count).
    virtual bool contains(const QString &key) const = 0;

    bool boolean(const QString &key) const;   ///< false when absent
    qint64 integer(const QString &key) const; ///< 0 when absent
    std::optional<QString> string(const QString &key) const;
    std::optional<QByteArray> data(const QString &key) const;

    /// Stores a bool, integer, double, QString or QByteArray. A failure to write keeps the value in this
    /// process and says why.
    virtual Status set(const QString &key, const QVariant &value) = 0;
    virtual Status remove(const QString &key) = 0;
    /// The value that readers of this process get while the key is not stored. Never written.
    virtual void registerDefault(const QString &key, const QVariant &value) = 0;
    /// Whether changes are kept, and where, or why not.
    virtual Availability availability() const = 0;
    /// When the domain was last stored, by any process; absent when it never was, or nobody knows.
    virtual std::optional<QDateTime> lastStored() const { return std::nullopt; }
    /// Takes in at once what other processes have stored, instead of when word of it arrives. Called before a
    /// value is changed on top of the stored one.
    virtual void synchronize() {}

signals:
    /// A value may have changed: by this process (synchronously) or by another one.
    void didChange();
};

} // namespace cobblet
