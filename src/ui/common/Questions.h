#pragma once

#include "platform/Dialogs.h"

namespace cobblet {

/// Asked before a group is deleted; the first button deletes.
inline Alert groupDeletionQuestion()
{
    return {.message =
                QStringLiteral("This removes the group and its app list. The apps themselves aren’t affected."),
            .buttons = {{QStringLiteral("Delete"), true}, {QStringLiteral("Cancel")}},
            .defaultButton = 1, // what can't be undone is not what Return does
            .cancelButton = 1,
            .warning = true};
}

} // namespace cobblet
