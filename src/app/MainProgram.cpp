#include "app/MainProgram.h"

#include "platform/BundleTools.h"
#include "platform/Dialogs.h"
#include "platform/DistributedNotifications.h"
#include "platform/DockTile.h"
#include "platform/HotKeys.h"
#include "platform/IntentsHost.h"
#include "platform/LaunchRegistry.h"
#include "platform/Pasteboard.h"
#include "platform/Platform.h"
#include "platform/RunningApplications.h"
#include "platform/StatusItem.h"
#include "platform/Workspace.h"
#include "ui/common/Symbols.h"
#include "ui/common/Units.h"

#include <QDir>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QQuickWindow>

#include <utility>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

Q_LOGGING_CATEGORY(log, "cobblet.app")

/// Counted from the first frame: past the panel's fade, so that it stays smooth.
constexpr auto preloadDelay = 400ms;
/// In a step of its own, after the icons.
constexpr auto statusItemDelay = 600ms;
/// Counted from the start: for one that opens no panel.
constexpr auto statusItemLatest = 3000ms;
/// The agents are looked after once nobody waits for anything any more.
constexpr auto standaloneDelay = 1500ms;
constexpr auto standaloneLatest = 4000ms;

/// What preloading may take: more icons than a person's groups show, and little beside the views.
constexpr qint64 preloadBytes = 4 * 1024 * 1024;
constexpr int preloadPerGroup = 60;

} // namespace

MainProgram::MainProgram(const Bundle &bundle, Platform &platform, CommandLine request)
    : PanelProgram(bundle, platform), m_request(std::move(request))
{
}

MainProgram::~MainProgram()
{
    if (m_serves)
        m_platform.intentsHost().stop();
}

void MainProgram::start()
{
    migratePreferences();
    loadStores([this] {
        if (m_serves)
            m_platform.intentsHost().groupsChanged();
    });
    m_core->usage();
    m_statusBarController.emplace(StatusBarController::Services{m_platform.makeStatusItem(), m_core->notifications(),
                                                                m_platform.dockTile(), symbolImage,
                                                                &QCoreApplication::quit},
                                  m_bundle.resource(QStringLiteral("TrayIcon.png")));
    makePanelController();
    later(statusItemLatest, &MainProgram::showStatusItem);
    later(standaloneLatest, &MainProgram::startStandaloneManager);
    makePanelWindow([this](const QUuid &group) { standaloneManager().open(group); });
    registerHotKeys(m_platform.hotKeys());
    receiveEvents();
    // Its window is in task lists, perhaps before any panel was shown.
    connect(&m_core->notifications(), &NotificationCenter::openSettings, this, &MainProgram::showIcon,
            Qt::QueuedConnection);
    // The entry in the menu that docks and launchers have from the desktop entry.
    m_platform.dockTile().setMenu([] { return QList<DockMenuItem>(); },
                                  [this](const QString &action) {
                                      if (action == QLatin1String("settings"))
                                          emit m_core->notifications().openSettings();
                                      return action == QLatin1String("settings");
                                  });
    if (m_request.verb != CommandLine::Verb::Service && m_request.verb != CommandLine::Verb::Settings)
        showPanelSoon();
    // After the panel has begun to show: who asks meanwhile can wait, the panel can't.
    later(0ms, &MainProgram::serve);
}

void MainProgram::firstPanelPainted()
{
    later(preloadDelay, &MainProgram::preloadIcons);
    later(statusItemDelay, &MainProgram::showStatusItem);
    later(standaloneDelay, &MainProgram::startStandaloneManager);
    releaseMemorySoon();
}

void MainProgram::serve()
{
    if (m_request.groupToShow() || m_request.verb == CommandLine::Verb::Settings)
        m_core->intents().run(m_request, [](const CommandReply &reply) {
            if (!reply.errors.isEmpty())
                qCWarning(log).noquote() << reply.errors.trimmed();
        });
    m_serves = true;
    m_platform.intentsHost().serve(m_core->intents());
}

StandaloneGroupManager &MainProgram::standaloneManager()
{
    if (!m_standaloneManager) {
        m_standaloneManager.emplace(StandaloneGroupManager::Services{
            m_bundle, QDir::homePath() + QStringLiteral("/Applications/Cobblet Groups"), m_platform.bundleTools(),
            m_platform.launchRegistry(), groupIcons(), m_core->config(), m_platform.runningApplications(),
            m_platform.workspace(), m_platform.distributedNotifications(), m_platform.dialogs(),
            m_platform.pasteboard(), m_platform.scheduler()});
        connect(&*m_standaloneManager, &StandaloneGroupManager::idle, this, &MainProgram::releaseMemorySoon);
    }
    return *m_standaloneManager;
}

void MainProgram::startStandaloneManager()
{
    if (!std::exchange(m_standaloneManagerStarted, true))
        standaloneManager().start();
}

void MainProgram::preloadIcons()
{
    if (!Units::hasEmojiFont())
        qCWarning(log)
            << "No emoji font is installed: the groups' emoji can't be drawn. Install one, such as Noto Color Emoji.";
    const double side = IconProvider::iconPoints * m_view->window().effectiveDevicePixelRatio();
    const qint64 maximum = preloadBytes / qint64(side * side * 4);
    QStringList ids;
    for (const AppGroup &group : m_core->config().groups())
        for (const AppItem &app : group.apps.mid(0, preloadPerGroup))
            ids.append(app.bundleID);
    ids.removeDuplicates();
    m_icons->preload(ids.mid(0, maximum));
    showIcon();
}

void MainProgram::showIcon()
{
    if (!std::exchange(m_showsIcon, true))
        m_platform.dockTile().setIcon(QImage(m_bundle.resource(QStringLiteral("AppIcon.png"))));
}

} // namespace cobblet
