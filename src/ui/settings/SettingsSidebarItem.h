#pragma once

#include <QString>
#include <QUuid>

#include <optional>

namespace cobblet {

/// A page of the settings window: one group's, or one of the others.
struct SettingsSidebarItem {
    enum class Kind { Group, Theme, Popup, Shortcuts, Siri, Updates, Backup, Diagnostics };

    Kind kind = Kind::Theme;
    QUuid groupID = {}; ///< null for every page but a group's

    static SettingsSidebarItem group(const QUuid &id) { return {Kind::Group, id}; }

    /// As the preferences remember it ("group:ID", "theme").
    QString text() const;
    /// Absent when the text names no page.
    static std::optional<SettingsSidebarItem> fromText(const QString &text);

    bool operator==(const SettingsSidebarItem &) const = default;
};

} // namespace cobblet
