#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QMap>
#include <QUuid>

namespace cobblet {

/// A JSON object from digits, as decimal texts, to group ids.
QByteArray encodeShortcuts(const QMap<int, QUuid> &shortcuts);
/// Strict: one key that is no decimal integer, or one value that is no UUID, fails the whole map. Integers
/// outside 1 to 9 are kept, though nothing types them. Of a key given twice the last counts.
Result<QMap<int, QUuid>> decodeShortcuts(const QByteArray &json);

} // namespace cobblet
