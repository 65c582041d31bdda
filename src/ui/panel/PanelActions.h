#pragma once

#include "model/AppGroup.h"
#include "platform/Menus.h"
#include "ui/panel/ToolRow.h"

#include <QObject>

#include <functional>

namespace cobblet {

class ConfigManager;
class Dialogs;
class GroupActions;
class NotificationCenter;
class Workspace;

/// What the panel's buttons and menus do.
class PanelActions : public QObject {
    Q_OBJECT
public:
    PanelActions(ConfigManager &config, NotificationCenter &notifications, GroupActions &groupActions,
                 Workspace &workspace, Dialogs &dialogs, QObject *parent = nullptr);

    /// Opens or brings forward the application and closes the panel; does nothing when none is installed.
    void openApp(const QString &bundleID);
    void openAll(const QList<AppItem> &apps);
    void closeAll(const QList<AppItem> &apps, CloseAll how);
    void openSettings();

    /// Appends a group with the trimmed name; its id, or a null one when the name is blank.
    QUuid createGroup(const QString &name, const QString &emoji);
    /// Lets the user choose applications and appends them to the group.
    void chooseApps(const QUuid &group);
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
    void addFiles(const QStringList &paths, const QUuid &group);

    ConfigManager &m_config;
    NotificationCenter &m_notifications;
    GroupActions &m_groupActions;
    Workspace &m_workspace;
    Dialogs &m_dialogs;
};

} // namespace cobblet
