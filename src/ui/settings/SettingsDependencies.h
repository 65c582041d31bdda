#pragma once

#include <QString>

#include <functional>

namespace cobblet {

class Appearance;
class ConfigManager;
class Diagnostics;
class Dialogs;
class DistributedNotifications;
class DockTile;
class GlobalHotkeyManager;
class GroupIconProvider;
class GroupSuggestionService;
class IconProvider;
class Menus;
class NotificationCenter;
class Pasteboard;
class RunningApplications;
class Scheduler;
class UserDefaults;
class Workspace;

/// Everything the settings window draws on. The references outlive it.
struct SettingsDependencies {
    ConfigManager &config;
    UserDefaults &sharedDefaults;   ///< the preferences that agents read too
    UserDefaults &standardDefaults; ///< what the window remembers of itself
    NotificationCenter &notifications;
    Dialogs &dialogs;
    Menus &menus;
    Appearance &appearance;
    Workspace &workspace;
    IconProvider &icons;
    GroupIconProvider &groupIcons;
    RunningApplications &running;
    DistributedNotifications &distributedNotifications;
    Pasteboard &pasteboard;
    DockTile &dockTile;
    GlobalHotkeyManager *hotkeys; ///< null where the key combinations are another process's
    Scheduler &scheduler;
    GroupSuggestionService &suggestions;
    std::function<Diagnostics &()> diagnostics; ///< made on first use
    QString emojiTables{};                      ///< the folder of the tables of names; empty for none
};

} // namespace cobblet
