#pragma once

#include "model/AppGroup.h"

#include <QObject>
#include <QThreadPool>

#include <functional>
#include <optional>

namespace cobblet {

class ConfigManager;
class DistributedNotifications;
class DockTile;
class GroupIconProvider;
class GroupReports;
class NotificationCenter;
struct Bundle;

/// What makes this process the agent of one group: the group's menu and tile in the dock, and the group that
/// its panel opens with. Main thread only.
class AgentController : public QObject {
    Q_OBJECT
public:
    struct Services {
        const Bundle &bundle; ///< the process's own, which holds the group
        ConfigManager &config;
        NotificationCenter &notifications;
        DistributedNotifications &distributedNotifications;
        DockTile &dockTile;
        std::function<GroupIconProvider &()> icons;
        std::function<GroupReports &()> reports;
    };

    /// Offers the menu, and follows the messages that ask for a new tile. The references outlive the object.
    explicit AgentController(Services services, QObject *parent = nullptr);
    /// Waits for the tile that is being drawn.
    ~AgentController() override;

    /// The bundle's group, as the store has it where it does; absent when the bundle holds none of its own.
    std::optional<AppGroup> group() const;
    /// Draws the group's tile anew, on another thread, and puts it into the dock.
    void refreshTile();
    /// Makes the panel show the group.
    void selectGroup();

private:
    const Services m_services;
    QThreadPool m_worker;
};

} // namespace cobblet
