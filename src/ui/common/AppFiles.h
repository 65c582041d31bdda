#pragma once

#include "model/AppGroup.h"

#include <functional>

namespace cobblet {

class Dialogs;
class Workspace;

/// Lets the user choose the files of applications; `add` is called later, with those that are some, or not at all.
/// Tells the user what could not be added. Dialogs and workspace outlive the answer.
void chooseAppFiles(Dialogs &dialogs, Workspace &workspace, std::function<void(const QList<AppItem> &)> add);

} // namespace cobblet
