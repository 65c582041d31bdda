#pragma once

#include "integration/GroupIntents.h"

#include <array>
#include <optional>

namespace cobblet {

/// A ready-made spoken request, in several wordings.
struct AppShortcut {
    static constexpr QLatin1String applicationName{"Cobblet"};

    const GroupIntent &intent;
    std::array<QLatin1String, 3> openings; ///< what a phrase begins with: "Fire up"
    QLatin1String shortTitle;
    QLatin1String symbol;

    /// What every phrase ends with (" group in Cobblet").
    static QString closing();
    /// The wordings with this word as the group ("Fire up Work group in Cobblet").
    QStringList phrases(const QString &group) const;
};

/// The phrases that assistants, searches and the command line understand.
class CobbletShortcuts {
public:
    /// Room for the words of a phrase around the longest name; a longer text is not looked at.
    static constexpr qsizetype maximumPhrase = 1100;

    static const std::array<AppShortcut, 3> &appShortcuts();

    /// What a whole phrase asks for, whatever its letter case and white space, with or without a full stop; absent
    /// when the text is no such phrase. The group is called as it was said.
    static std::optional<GroupRequest> understood(const QString &text);
    /// The verb of a phrase that may still be being typed ("fire up wo"), and all that was typed after it.
    static std::optional<GroupRequest> begun(const QString &text);
};

} // namespace cobblet
