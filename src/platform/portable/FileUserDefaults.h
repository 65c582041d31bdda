#pragma once

#include "platform/FileStamp.h"
#include "platform/UserDefaults.h"

#include <QCborMap>
#include <QFileSystemWatcher>
#include <QHash>

#include <memory>

namespace cobblet {

/// A domain of preferences in one file (a CBOR map) that any number of processes share: every change is made
/// on top of the newest file under a lock, and changes of other processes are followed.
class FileUserDefaults : public UserDefaults {
    Q_OBJECT
public:
    /// Whether changes of other processes arrive by themselves. A watch costs the end of a process several ms.
    enum class Following { Watched, WhenSynchronized };

    /// The file is "FOLDER/DOMAIN.cbor"; neither needs to be there. What stands in its place but can't be read leads
    /// to the domain `standIn`, if one is named.
    FileUserDefaults(const QString &folder, const QString &domain, Following following = Following::Watched,
                     const QString &standIn = {});

    std::optional<QVariant> object(const QString &key) const override;
    bool contains(const QString &key) const override { return !stored(key).isUndefined(); }
    Status set(const QString &key, const QVariant &value) override;
    Status remove(const QString &key) override { return change(key, QCborValue()); }
    void registerDefault(const QString &key, const QVariant &value) override;
    Availability availability() const override;
    std::optional<QDateTime> lastStored() const override;
    void synchronize() override;

private:
    QCborMap read(bool locked);
    bool adopt(const QCborMap &values);
    QCborValue stored(const QString &key) const { return m_unsaved.value(key, m_values.value(key)); }
    Status change(const QString &key, const QCborValue &value);
    void watch();

    const Following m_following;
    const QString m_folder;
    const QString m_path;
    FileStamp m_stamp;
    QCborMap m_values;                    ///< large data stays on disk: in its place is an array that holds its hash
    QHash<QString, QCborValue> m_unsaved; ///< changes that could not be written; undefined: removed
    QHash<QString, QCborValue> m_registered;
    std::unique_ptr<QFileSystemWatcher> m_watcher;
    Status m_lastWrite;
    bool m_warned = false;
};

} // namespace cobblet
