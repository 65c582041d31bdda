#pragma once

#include <QString>

#include <memory>

class QWindow;

namespace cobblet {

class Appearance;
class Dialogs;
class DistributedNotifications;
class DockTile;
class HotKeys;
class Instance;
class IntentsHost;
class LaunchRegistry;
class Menus;
class PanelSurface;
class Pasteboard;
class RunningApplications;
class Scheduler;
class Screens;
class StatusItem;
class UserDefaults;
struct BundleTools;
class WindowAccess;
class Workspace;

/// The one desktop this program was built for: it owns the services and makes each on first use, so that
/// start-up pays only for what the first panel needs. Nobody but the composition root sees it; everybody
/// else is handed the services they use.
class Platform {
public:
    virtual ~Platform() = default;

    /// Where the program keeps its files; not necessarily there yet.
    virtual QString applicationSupportFolder() const = 0;

    /// Called once before the toolkit starts: loads on a thread of its own what the toolkit would wait for.
    virtual void warmUp() {}

    virtual Instance &instance() = 0;
    virtual IntentsHost &intentsHost() = 0;
    virtual Scheduler &scheduler() = 0;
    virtual UserDefaults &standardDefaults() = 0;
    /// The suite PlatformOptions::sharedSuite, or its stand-in.
    virtual UserDefaults &sharedDefaults() = 0;
    virtual DistributedNotifications &distributedNotifications() = 0;
    virtual Appearance &appearance() = 0;
    virtual Screens &screens() = 0;
    virtual Workspace &workspace() = 0;
    virtual RunningApplications &runningApplications() = 0;
    virtual WindowAccess &windowAccess() = 0;
    virtual LaunchRegistry &launchRegistry() = 0;
    virtual BundleTools bundleTools() const = 0;
    virtual Dialogs &dialogs() = 0;
    virtual Pasteboard &pasteboard() = 0;
    virtual Menus &menus() = 0;
    virtual DockTile &dockTile() = 0;
    virtual HotKeys &hotKeys() = 0;

    /// Makes the program's item in the status bar. The platform outlives it.
    virtual std::unique_ptr<StatusItem> makeStatusItem() = 0;

    /// Makes a window that is not shown yet into a floating panel with corners of this radius (points).
    virtual std::unique_ptr<PanelSurface> makePanelSurface(QWindow &window, double cornerRadius) = 0;

    /// Gives back the memory that nobody needs for now. Called once a person's request has been carried out.
    virtual void releaseMemory() = 0;
};

/// What a backend is told of the program that it serves.
struct PlatformOptions {
    enum class Purpose {
        Panel,  ///< the program stays and has windows: a QGuiApplication is made before its services are used
        Command ///< it carries out one command under a QCoreApplication and ends: nothing is drawn or followed
    };

    QString identifier;     ///< by which desktops know the program
    QString standardDomain; ///< of its preferences; the programs of one installation may have one together
    QString sharedSuite;    ///< a second domain; where it can't be opened, the standard one stands in
    QString folderName;     ///< of the folders that hold its files and preferences
    QString bundlePath;     ///< its ".app" folder; empty outside a bundle
    Purpose purpose = Purpose::Panel;
    /// Programs whose identifiers begin with this seldom have a window and count as running when their name is on
    /// the bus; empty for none.
    QString windowlessPrefix = {};
};

/// The backend that was linked. Before there is an application object only instance(), intentsHost() and warmUp() may
/// be used. No service may outlive it.
std::unique_ptr<Platform> makePlatform(const PlatformOptions &options);

/// The file of the running program; works before there is an application object.
QString runningExecutable();

} // namespace cobblet
