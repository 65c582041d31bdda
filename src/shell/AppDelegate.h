#pragma once

#include <QObject>

#include <functional>

namespace cobblet {

class DockTile;
class UsageTracker;

/// Answers what the desktop tells the application. Main thread only.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    /// The references outlive the delegate.
    struct Services {
        DockTile &dockTile;
        UsageTracker &usageTracker;
        std::function<void()> showPanel;
        /// Has the icon in the dock drawn anew; empty where it never changes.
        std::function<void()> refreshTile;
        /// Brings the settings window forward if it is visible, and says whether it is. May be empty.
        std::function<bool()> bringSettingsForward;
    };

    explicit AppDelegate(Services services, QObject *parent = nullptr);

    /// A click on the icon of the running application, or a second start of it.
    void applicationShouldHandleReopen();
    /// Writes what is still pending.
    void applicationWillTerminate();

private:
    const Services m_services;
};

} // namespace cobblet
