#include "model/AppGroup.h"

namespace cobblet {

const QUuid AppGroup::mostUsedID{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};

} // namespace cobblet
