#pragma once

#include "model/AppGroup.h"
#include "platform/Menus.h"
#include "ui/common/EmojiSource.h"

#include <QObject>

#include <functional>

namespace cobblet {

class Appearance;
class ConfigManager;
class Dialogs;
class GroupActions;
class IconProvider;
class NotificationCenter;
class PopupSettings;
class RunningAppsMonitor;
class ThemeManager;
class UsageTracker;
class Workspace;

/// Everything the launcher panel's views draw on.
struct PanelDependencies {
    ConfigManager &config;
    PopupSettings &popupSettings;
    ThemeManager &theme;
    NotificationCenter &notifications;
    GroupActions &groupActions;
    RunningAppsMonitor &runningApps;
    UsageTracker &usage;
    IconProvider &icons;
    Workspace &workspace;
    Dialogs &dialogs;
    Menus &menus;
    Appearance &appearance;
    EmojiSource emoji;
    /// Opens the agent of a group, which gets one where it has none yet. Empty in an agent.
    std::function<void(const QUuid &)> openStandalone;
};

/// What the panel's buttons and menus do.
class PanelActions : public QObject {
    Q_OBJECT
public:
    explicit PanelActions(const PanelDependencies &dependencies) : m_d(dependencies) {}

    /// Opens or brings forward the application and closes the panel; does nothing when none is installed.
    void openApp(const QString &bundleID);

    /// Appends a group with the trimmed name; its id, or a null one when the name is blank.
    QUuid createGroup(const QString &name, const QString &emoji);
    /// Lets the user choose the files of applications, which are appended to the group.
    void chooseFiles(const QUuid &group);
    /// Asks first.
    void deleteGroup(const QUuid &group);

    struct CellState {
        AppItem app;
        bool isRunning = false;
        bool isInstalled = false;
    };
    /// The context menu of an application's cell; `group` is null where the list cannot be edited. `others` are
    /// the groups it could move to, in the order to list them.
    QList<MenuItem> cellMenu(const CellState &cell, const AppGroup *group, const QList<AppGroup> &others);
    QList<MenuItem> groupMenu(const AppGroup &group);

private:
    PanelDependencies m_d;
};

} // namespace cobblet
