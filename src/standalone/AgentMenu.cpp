#include "standalone/AgentMenu.h"

#include <algorithm>

namespace cobblet {

namespace {

const QString openAll = QStringLiteral("open-all");
const QString hideAll = QStringLiteral("hide-all");
const QString quitAll = QStringLiteral("quit-all");

/// What opening an application is called. Desktops keep the name while the group changes, so it names the application
/// and not its place; in a name only letters, digits and "-" may stand.
QString openAction(const QString &bundleID)
{
    QString action = QStringLiteral("app-");
    for (const char byte : bundleID.toUtf8()) {
        const bool stands =
            (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
        action.append(stands ? QString(QLatin1Char(byte))
                             : QStringLiteral("-%1").arg(uchar(byte), 2, 16, QLatin1Char('0')));
    }
    return action;
}

} // namespace

QList<DockMenuItem> agentMenu(const AppGroup &group)
{
    QList<DockMenuItem> menu;
    for (const AppItem &app : group.apps)
        menu.append({openAction(app.bundleID), app.name, app.bundleID});
    menu.append(DockMenuItem{});
    menu.append({openAll, QStringLiteral("Open All"), {}});
    menu.append({hideAll, QStringLiteral("Hide All"), {}});
    menu.append({quitAll, QStringLiteral("Quit All"), {}});
    return menu;
}

bool performAgentAction(const QString &action, const AppGroup &group, GroupReports &reports, GroupReports::Done done)
{
    if (action == openAll) {
        reports.launch(group.apps, std::move(done));
    } else if (action == hideAll) {
        reports.hide(group.apps, std::move(done));
    } else if (action == quitAll) {
        reports.quit(group.apps, std::move(done));
    } else {
        const auto app = std::find_if(group.apps.begin(), group.apps.end(),
                                      [&](const AppItem &item) { return openAction(item.bundleID) == action; });
        if (app == group.apps.end())
            return false;
        reports.launch({*app}, std::move(done));
    }
    return true;
}

} // namespace cobblet
