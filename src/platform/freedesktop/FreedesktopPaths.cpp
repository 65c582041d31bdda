#include "platform/freedesktop/FreedesktopPaths.h"

#include <QStandardPaths>

namespace cobblet::freedesktop {

QString applicationSupportFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Cobblet");
}

QString preferencesFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/cobblet");
}

} // namespace cobblet::freedesktop
