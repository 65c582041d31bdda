#pragma once

#include "platform/IntentsHost.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace cobblet {

/// What a command line asks for.
struct CommandLine {
    enum class Verb {
        Panel,
        Service,
        Show,
        Launch,
        Quit,
        Hide,
        List,
        ListJson,
        Say,
        Open,
        Diagnose,
        Settings,
        Action, ///< an entry of the menu that an agent has in docks
        Help,
        Version,
        Invalid
    };

    // The exit statuses besides 0. Scripts rely on them.
    static constexpr int groupNotFound = 1;
    static constexpr int ambiguousGroup = 2;
    static constexpr int notForAll = 3; ///< carried out, but not for every application of the group
    static constexpr int usageError = 64;

    Verb verb = Verb::Panel;
    QString text; ///< the group, the phrase, the address or the action; when Invalid, a sentence about what is wrong

    /// `arguments` without the program's name. The words of a name or a phrase are joined by one space each; what
    /// comes after "--" is no option.
    static CommandLine parse(const QStringList &arguments);
    /// The same for arguments as the system has them; those that are no UTF-8 are Invalid.
    static CommandLine parse(const QByteArrayList &arguments);
    static QString usage();

    /// The same for an agent (`isAgent`) or for Cobblet itself: each takes what is not meant for
    /// the other as Invalid.
    CommandLine takenBy(bool isAgent) const;

    /// The answer where it takes nothing but the program's version: to Help, Version and Invalid.
    std::optional<CommandReply> answer(const QString &version) const;
    /// The group that the panel is to open with, whether it was named, said or in an address.
    std::optional<QString> groupToShow() const;
    /// Whether the program is to stay, with its panel, once this is carried out.
    bool needsPanel() const;

    bool operator==(const CommandLine &) const = default;
};

} // namespace cobblet
