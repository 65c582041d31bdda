#include "model/AppGroup.h"

namespace cobblet {

const QUuid AppGroup::mostUsedID{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

AppGroup AppGroup::mostUsed()
{
    AppGroup group;
    group.id = mostUsedID;
    group.name = QStringLiteral("Most Used");
    group.emoji = QStringLiteral("⭐");
    return group;
}

} // namespace cobblet
