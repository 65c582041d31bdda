#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>

#include <optional>

namespace cobblet {

/// The content of a defaults file: one flat dictionary of scalars as a binary property list. Read and written
/// here and not by the property-list library, which copies a value once for every reference to it, descends into
/// nested containers by recursion and ends the process on a key with a null character: a small file from outside
/// could bring the program down. It also hashes every byte it writes, which a group list of megabytes would feel.
class PlistDomain {
public:
    /// Bytes from outside; anything but a flat binary property list is an error.
    static Result<PlistDomain> decode(const QByteArray &bytes);
    QByteArray encode() const;

    /// Each a bool, qint64, double, QString or QByteArray.
    const QMap<QString, QVariant> &values() const { return m_values; }

    /// False, and nothing changed, when the key has this very value already.
    bool set(const QString &key, const QVariant &value);
    bool remove(const QString &key) { return m_values.remove(key) > 0; }

    /// The value in the one form its type is stored in; absent when it is of a type that is not stored.
    static std::optional<QVariant> normalized(const QVariant &value);

private:
    QMap<QString, QVariant> m_values;
};

} // namespace cobblet
