#pragma once

#include <QString>

namespace cobblet {

/// Whether an application's identifier can be a name on the bus as it is.
bool isBusName(const QString &identifier);

/// The name on the bus that stands for an identifier: no element of one may begin with a digit, so such an element
/// gets a "_" before it.
QString busName(const QString &identifier);

/// The object path that stands for an identifier.
QString busPathOf(const QString &identifier);

} // namespace cobblet
