#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

#include <functional>
#include <memory>
#include <optional>

namespace cobblet {

/// The content of a defaults file: one flat dictionary of scalars as a binary property list.
class PlistDomain {
public:
    PlistDomain();
    PlistDomain(PlistDomain &&) = default;
    PlistDomain &operator=(PlistDomain &&) = default;

    /// Bytes from outside. What is no flat binary property list, or would unfold into far more than its own
    /// size, is an error.
    static Result<std::shared_ptr<PlistDomain>> decode(const QByteArray &bytes);
    QByteArray encode() const;

    /// A bool, qint64, double, QString or QByteArray; absent for a missing key and for a date, which is kept
    /// but not read.
    std::optional<QVariant> value(const QString &key) const;
    void forEach(const std::function<void(const QString &key, const QVariant &value)> &visit) const;

    /// False, and nothing changed, when the key has this very value already.
    bool set(const QString &key, const QVariant &value);
    bool remove(const QString &key);

    /// The value in the one form its type is stored in; absent when it is of a type that is not stored.
    static std::optional<QVariant> normalized(const QVariant &value);

private:
    struct Free {
        void operator()(void *node) const;
    };
    std::unique_ptr<void, Free> m_root;
};

} // namespace cobblet
