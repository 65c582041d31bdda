#pragma once

#include "control/GroupActions.h"
#include "control/RunningAppsMonitor.h"
#include "control/UsageTracker.h"
#include "model/ConfigManager.h"
#include "model/Notifications.h"
#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "standalone/IconProvider.h"
#include "support/FakeDesktop.h"
#include "support/TemporaryHome.h"
#include "support/VirtualScheduler.h"
#include "ui/panel/PanelViewModel.h"

#include <ostream>

inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QSizeF &size, std::ostream *out)
{
    *out << size.width() << 'x' << size.height();
}

namespace cobblet::test {

/// Everything the panel needs, on the fake desktop. The store starts with the groups it is given.
struct PanelFixture {
    explicit PanelFixture(const QList<AppGroup> &groups = {}, std::unique_ptr<FakeWorkspace> desktop = {});

    PanelDependencies dependencies();
    /// A group of installed applications "PREFIX.1" to "PREFIX.N".
    AppGroup group(const QString &name, int apps, const QString &prefix = QStringLiteral("app"));
    /// The application starts to run.
    void run(const QString &bundleID);
    void setPreference(const QString &key, const QVariant &value);
    /// How often this message was sent so far ("Cobblet.closePanel").
    int posted(const char *message) const;

    TemporaryHome home;
    Log log;
    std::unique_ptr<FakeWorkspace> ownedWorkspace;
    FakeWorkspace &workspace;
    FakeDefaults standardDefaults;
    FakeDefaults sharedDefaults;
    FakeRunningApplications running{&log};
    FakeWindowAccess windowAccess{&log};
    FakeAppearance appearance;
    FakeDialogs dialogs;
    FakeMenus menus;
    VirtualScheduler scheduler;
    NotificationCenter notifications;
    QStringList messages; ///< see record()
    QList<QUuid> madeStandalone;
    ConfigManager config;
    PopupSettings popupSettings;
    ThemeManager theme;
    RunningAppsMonitor runningApps;
    UsageTracker usage;
    GroupActions groupActions;
    IconProvider icons;
};

} // namespace cobblet::test
