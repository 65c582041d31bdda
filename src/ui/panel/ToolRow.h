#pragma once

#include <QStringList>

namespace cobblet {

/// What the close-all button does.
enum class CloseAll { Hide, Quit, ForceQuit };

struct CloseAllButton {
    CloseAll action;
    QString label;
    QString symbol;
};

/// The close-all button under the modifier keys held. Both together fall back to hiding, the least destructive
/// action.
inline CloseAllButton closeAllButton(bool isCommandPressed, bool isOptionPressed)
{
    if (isCommandPressed && !isOptionPressed)
        return {CloseAll::ForceQuit, QStringLiteral("Force Quit All"), QStringLiteral("exclamationmark.octagon")};
    if (isOptionPressed && !isCommandPressed)
        return {CloseAll::Quit, QStringLiteral("Quit All"), QStringLiteral("xmark")};
    return {CloseAll::Hide, QStringLiteral("Hide All"), QStringLiteral("eye.slash")};
}

/// Every label that the button can have.
inline QStringList closeAllLabels()
{
    QStringList labels;
    for (const auto &[command, option] : {std::pair(false, false), {false, true}, {true, false}})
        labels.append(closeAllButton(command, option).label);
    return labels;
}

} // namespace cobblet
