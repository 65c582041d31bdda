#pragma once

#include "model/AppGroup.h"
#include "platform/Result.h"

#include <QByteArray>

namespace cobblet {

/// Bounds on JSON from outside; past either it does not decode.
inline constexpr int maximumJsonDepth = 64;
inline constexpr qint64 maximumJsonBytes = 64LL * 1024 * 1024;

/// A UUID in its canonical 36-character form, in either case; absent for any other text.
std::optional<QUuid> parseUuid(const QString &text);
/// The canonical upper-case form.
QString uuidText(const QUuid &id);

/// Compact JSON, keys in field order. Half of a surrogate pair is written as U+FFFD.
QByteArray encodeGroup(const AppGroup &group);
QByteArray encodeGroups(const QList<AppGroup> &groups);

/// Strict about the core fields, lenient about the later ones; one bad group fails the whole list. The error
/// says what is wrong with the first bad value. Any UUID is taken for an id, the reserved one included: the
/// store sees to it that no stored group keeps that one.
Result<AppGroup> decodeGroup(const QByteArray &json);
Result<QList<AppGroup>> decodeGroups(const QByteArray &json);

} // namespace cobblet
