#include "app/DiagnosticsSources.h"

#include "model/ConfigManager.h"
#include "platform/Appearance.h"
#include "platform/Bundle.h"
#include "platform/BundleTools.h"
#include "platform/DistributedNotifications.h"
#include "platform/Instance.h"
#include "platform/IntentsHost.h"
#include "platform/LaunchRegistry.h"
#include "platform/Platform.h"
#include "platform/Screens.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"
#include "shell/FloatingPanelController.h"
#include "shell/GlobalHotkeyManager.h"
#include "shell/StatusBarController.h"
#include "ui/common/Units.h"

namespace cobblet {

namespace {

const QString shortcuts = QStringLiteral("Keyboard shortcuts"), statusItem = QStringLiteral("Status item"),
              dock = QStringLiteral("Dock"), panel = QStringLiteral("Panel"),
              appearance = QStringLiteral("Appearance"), emoji = QStringLiteral("Emoji");

Availability emojiFont()
{
    return Units::hasEmojiFont() ? Availability::works(QStringLiteral("A font that draws emoji is installed."))
                                 : Availability::unavailable(
                                       QStringLiteral("No font draws emoji: install one, such as Noto Color Emoji."));
}

/// What the row of this title says, as the service answers now.
template<class Service>
Diagnostics::Source of(const QString &title, Service &service)
{
    return Diagnostics::row(title, [&service] { return service.availability(); });
}

} // namespace

std::unique_ptr<Diagnostics> makeDiagnostics(Platform &platform, const ConfigManager &config, const Bundle &bundle,
                                             const PanelParts *parts)
{
    QList<Diagnostics::Source> sources;
    const bool isMain = !parts || parts->statusBar;
    if (parts) {
        sources.append(of(shortcuts, *parts->hotKeys));
        if (parts->statusBar)
            sources.append(of(statusItem, *parts->statusBar));
        sources += {of(dock, platform.screens()), of(panel, *parts->panel), of(appearance, platform.appearance())};
    }
    sources += {of(QStringLiteral("Running applications"), platform.runningApplications()),
                of(QStringLiteral("Installed applications"), platform.workspace()),
                {QStringLiteral("Opening applications, icons, waking from sleep"),
                 [&platform](const CapabilitiesAnswer &answer) { platform.workspace().examine(answer); }}};
    if (parts)
        sources += {Diagnostics::row(emoji, emojiFont), of(QStringLiteral("Session bus"), platform.instance())};
    else
        sources.append(of(QStringLiteral("Session bus"), platform.distributedNotifications()));
    if (isMain)
        sources += {{QStringLiteral("Search"),
                     [&platform](const CapabilitiesAnswer &answer) { platform.intentsHost().examine(answer); }},
                    of(QStringLiteral("Registering groups"), platform.launchRegistry())};
    sources +=
        {Diagnostics::row(QStringLiteral("Building groups"),
                          [&platform] { return platform.bundleTools().availability(); }),
         {QStringLiteral("Storage"), [&config](const CapabilitiesAnswer &answer) { answer(config.storage()); }},
         of(QStringLiteral("Preferences"), platform.standardDefaults()),
         of(QStringLiteral("Shared preferences"), platform.sharedDefaults())};
    return std::make_unique<Diagnostics>(
        sources, Diagnostics::Services{platform.runningApplications(), platform.workspace(), platform.scheduler()},
        bundle.version, parts ? QStringList() : QStringList{shortcuts, statusItem, dock, panel, appearance, emoji});
}

} // namespace cobblet
