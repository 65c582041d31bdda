#pragma once

#include "control/RunningAppsMonitor.h"
#include "model/PopupSettings.h"
#include "model/Theme.h"
#include "standalone/IconProvider.h"
#include "support/GroupsFixture.h"
#include "ui/panel/PanelViewModel.h"

namespace cobblet::test {

/// Everything the panel needs, on the fake desktop.
struct PanelFixture : GroupsFixture {
    PanelDependencies dependencies()
    {
        return {config,
                popupSettings,
                theme,
                notifications,
                actions,
                runningApps,
                usage,
                icons,
                workspace,
                dialogs,
                menus,
                appearance,
                {QStringLiteral(COBBLET_EMOJI_TABLES), sharedDefaults},
                [](const QUuid &) {}};
    }
    /// A group of installed applications "PREFIX.1" to "PREFIX.N".
    AppGroup group(const QString &name, int apps, const QString &prefix = u"app"_s)
    {
        AppGroup made;
        made.name = name;
        made.emoji = u"📁"_s;
        for (int i = 1; i <= apps; ++i) {
            made.apps.append({u"App %1"_s.arg(i), u"%1.%2"_s.arg(prefix).arg(i)});
            workspace.install(made.apps.last().bundleID, made.apps.last().name);
        }
        return made;
    }
    /// The application starts to run, as process 100 or one of the next ones.
    void run(const QString &bundleID) { running.launch({bundleID, 100 + running.running.size()}); }
    void setPreference(const QString &key, const QVariant &value) { (void)sharedDefaults.set(key, value); }
    /// How often this message was sent so far ("Cobblet.closePanel").
    qsizetype posted(const char *message) const { return log.count(QLatin1String(message)); }

    FakeAppearance appearance;
    FakeDialogs dialogs;
    FakeMenus menus;
    PopupSettings popupSettings{sharedDefaults};
    ThemeManager theme{sharedDefaults, appearance};
    RunningAppsMonitor runningApps{running};
    IconProvider icons{workspace, 1};
};

} // namespace cobblet::test
