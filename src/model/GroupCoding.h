#pragma once

#include "model/AppGroup.h"
#include "platform/Result.h"

#include <QByteArray>
#include <QMap>

namespace cobblet {

/// Bounds on JSON from outside; past any of them it does not decode.
inline constexpr qint64 maximumJsonBytes = 64LL * 1024 * 1024;
inline constexpr int maximumJsonDepth = 64;
inline constexpr int maximumJsonValues = 1'000'000; ///< 1,000 groups of 50 applications are about 160,000

/// A UUID in its canonical 36-character form, in either case; absent for any other text.
std::optional<QUuid> parseUuid(const QString &text);
/// The canonical upper-case form.
QString uuidText(const QUuid &id);

/// Compact JSON, keys in field order.
QByteArray encodeGroup(const AppGroup &group);
QByteArray encodeGroups(const QList<AppGroup> &groups);

/// Strict about the core fields, lenient about the later ones; one bad group fails the whole list. Of a key given
/// twice the last counts. The error says what is wrong with the first bad group. Any UUID is taken for an id, the
/// reserved one included: the store sees to it that no stored group keeps that one.
/// With a `key` the group is the one that an object holds under it.
Result<AppGroup> decodeGroup(const QByteArray &text, const char *key = nullptr);
Result<QList<AppGroup>> decodeGroups(const QByteArray &text);

/// A JSON object from digits, as decimal texts, to group ids.
QByteArray encodeShortcuts(const QMap<int, QUuid> &shortcuts);
/// Strict: one key that is no decimal integer, or one value that is no UUID, fails the whole map. Integers
/// outside 1 to 9 are kept, though nothing types them.
Result<QMap<int, QUuid>> decodeShortcuts(const QByteArray &text);

} // namespace cobblet
