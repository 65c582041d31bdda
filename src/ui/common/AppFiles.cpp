#include "ui/common/AppFiles.h"

#include "platform/Dialogs.h"
#include "platform/Workspace.h"

namespace cobblet {

void chooseAppFiles(Dialogs &dialogs, Workspace &workspace, std::function<void(const QList<AppItem> &)> add)
{
    const FileRequest request{.title = QStringLiteral("Choose Apps"),
                              .acceptLabel = QStringLiteral("Add"),
                              .folder = workspace.applicationsFolder(),
                              .filters = {QStringLiteral("Applications (*.desktop)")},
                              .multiple = true,
                              .package = QStringLiteral("app")};
    dialogs.chooseFiles(request, [&dialogs, &workspace, add = std::move(add)](const QStringList &paths) {
        QList<AppItem> apps;
        QStringList refused;
        for (const QString &path : paths) {
            const auto application = workspace.applicationAt(path);
            if (application)
                apps.append({application.value().name, application.value().bundleID});
            else
                refused.append(application.error());
        }
        if (!apps.isEmpty())
            add(apps);
        if (!refused.isEmpty())
            dialogs.ask({.message = QStringLiteral("Not everything could be added."),
                         .informativeText = refused.join(QLatin1Char('\n')),
                         .buttons = {{QStringLiteral("OK")}}});
    });
}

} // namespace cobblet
