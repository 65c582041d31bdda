#include "ui/settings/SettingsCatalogue.h"

#include "ui/settings/SiriCommands.h"

#include <algorithm>

namespace cobblet {

using Kind = SettingsSidebarItem::Kind;
using namespace Qt::StringLiterals;

const QList<SettingsPageEntry> &settingsPages()
{
    static const QList<SettingsPageEntry> pages{
        {Kind::Theme, u"theme"_s, u"Theme"_s, u"paintbrush"_s, u"ThemePage.qml"_s},
        {Kind::Popup, u"popup"_s, u"Popup"_s, u"macwindow"_s, u"PopupPage.qml"_s},
        {Kind::Shortcuts, u"shortcuts"_s, u"Keyboard Shortcuts"_s, u"keyboard"_s, u"ShortcutsPage.qml"_s},
        {Kind::Siri, u"siri"_s, u"Siri"_s, u"mic"_s, u"SiriPage.qml"_s},
        {Kind::Diagnostics, u"diagnostics"_s, u"Diagnostics"_s, u"stethoscope"_s, u"DiagnosticsPage.qml"_s},
    };
    return pages;
}

const QList<SettingEntry> &settingEntries()
{
    static const QList<SettingEntry> settings = [] {
        QList<SettingEntry> entries{
            {u"theme.system"_s, Kind::Theme, u"System"_s, u"Follows your macOS appearance setting"_s},
            {u"theme.light"_s, Kind::Theme, u"Light"_s, u"Always use the light theme"_s},
            {u"theme.dark"_s, Kind::Theme, u"Dark"_s, u"Always use the dark theme"_s},
            {u"glassyStyle"_s, Kind::Theme, u"Glassy style"_s,
             u"Panel uses a frosted-glass blur instead of a solid background"_s},
            {u"popupColumns"_s, Kind::Popup, u"Columns"_s,
             u"Auto keeps the standard panel size; a fixed count shrinks the popup to fit the group"_s},
            {u"popupMaxRows"_s, Kind::Popup, u"Rows before scrolling"_s,
             u"Caps the popup's height; extra rows scroll"_s},
            {u"popupShowsTitles"_s, Kind::Popup, u"Show app names"_s, u"Turn off to show just the icons"_s},
            {u"popupShowsMostUsed"_s, Kind::Popup, u"Show Most Used group"_s,
             u"App launches are still tracked while hidden"_s},
            {u"popupAnchor"_s, Kind::Popup, u"Open the popup"_s, {}},
        };
        for (int digit = 1; digit <= 9; ++digit)
            entries.append({u"shortcut.%1"_s.arg(digit), Kind::Shortcuts, u"⌥⇧%1"_s.arg(digit), {}});
        entries.append({u"siri.say"_s, Kind::Siri, u"Say a phrase to the command"_s, SiriCommands::example()});
        entries.append({u"report"_s, Kind::Diagnostics, u"Report"_s,
                        u"This page as text, without your name or that of this machine"_s});
        return entries;
    }();
    return settings;
}

QString SettingsSidebarItem::text() const
{
    if (kind == Kind::Group)
        return u"group:"_s + groupID.toString(QUuid::WithoutBraces);
    const auto page = std::ranges::find(settingsPages(), kind, &SettingsPageEntry::kind);
    return page == settingsPages().end() ? QString() : page->name;
}

std::optional<SettingsSidebarItem> SettingsSidebarItem::fromText(const QString &text)
{
    if (text.startsWith(u"group:"_s)) {
        const QUuid id(text.mid(6));
        return id.isNull() ? std::nullopt : std::optional(group(id));
    }
    const auto page = std::ranges::find(settingsPages(), text, &SettingsPageEntry::name);
    return page == settingsPages().end() ? std::nullopt : std::optional(SettingsSidebarItem{page->kind});
}

} // namespace cobblet
