#include "ui/PanelFixture.h"

#include "support/Messages.h"

#include <gtest/gtest.h>

namespace cobblet::test {

PanelFixture::PanelFixture(const QList<AppGroup> &groups, std::unique_ptr<FakeWorkspace> desktop)
    : ownedWorkspace(desktop ? std::move(desktop) : std::make_unique<FakeWorkspace>(&log)),
      workspace(*ownedWorkspace), config({home.path(QStringLiteral("Cobblet"))}, standardDefaults),
      popupSettings(sharedDefaults), theme(sharedDefaults, appearance), runningApps(running),
      usage(home.path(QStringLiteral("Cobblet")), running, workspace, scheduler),
      groupActions(workspace, running, windowAccess, usage, standardDefaults, scheduler), icons(workspace, 1)
{
    config.replaceGroups(groups);
    QMap<int, QUuid> digits;
    for (int i = 0; i < groups.size() && i < 9; ++i)
        digits[i + 1] = groups[i].id;
    config.replaceShortcuts(digits);
    record(notifications, messages);
}

PanelDependencies PanelFixture::dependencies()
{
    return {config,
            popupSettings,
            theme,
            notifications,
            groupActions,
            runningApps,
            usage,
            icons,
            workspace,
            dialogs,
            menus,
            appearance,
            [this](const QUuid &id) { madeStandalone.append(id); }};
}

AppGroup PanelFixture::group(const QString &name, int apps, const QString &prefix)
{
    AppGroup made;
    made.name = name;
    made.emoji = QStringLiteral("📁");
    for (int i = 1; i <= apps; ++i) {
        const QString bundleID = QStringLiteral("%1.%2").arg(prefix).arg(i);
        workspace.install(bundleID, QStringLiteral("App %1").arg(i));
        made.apps.append({QStringLiteral("App %1").arg(i), bundleID});
    }
    return made;
}

void PanelFixture::run(const QString &bundleID)
{
    running.launch({bundleID, 100 + running.running.size()});
}

void PanelFixture::setPreference(const QString &key, const QVariant &value)
{
    EXPECT_TRUE(sharedDefaults.set(key, value).ok());
}

int PanelFixture::posted(const char *message) const
{
    return int(messages.count(QLatin1String(message)));
}

} // namespace cobblet::test
