#include "model/Notifications.h"

namespace cobblet {

void NotificationCenter::post(QLatin1String name, const QVariantMap &userInfo)
{
    emit posted(name, userInfo);
}

} // namespace cobblet
