#include "shell/AgentController.h"

#include "model/ConfigManager.h"
#include "model/GroupCoding.h"
#include "model/Notifications.h"
#include "platform/Bundle.h"
#include "platform/DistributedNotifications.h"
#include "platform/DockTile.h"
#include "standalone/AgentGroup.h"
#include "standalone/AgentMenu.h"
#include "standalone/GroupIconProvider.h"

#include <QLoggingCategory>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "com.vantor.cobblet.standalone")

/// The side of a tile in the dock, in points.
constexpr int tileSide = 512;

} // namespace

AgentController::AgentController(Services services, QObject *parent)
    : QObject(parent), m_services(std::move(services))
{
    m_worker.setMaxThreadCount(1); // one tile after the other
    m_worker.setExpiryTimeout(0);
    m_services.dockTile.setMenu(
        [this] {
            const auto own = group();
            return own ? agentMenu(*own) : QList<DockMenuItem>();
        },
        [this](const QString &action) {
            const auto own = group();
            return own && performAgentAction(action, *own, m_services.reports());
        });
    connect(&m_services.distributedNotifications, &DistributedNotifications::received, this,
            [this](const QString &name, const QString &object) {
                if (name != notification::repaintTile)
                    return;
                if (const auto own = group(); own && object == uuidText(own->id))
                    refreshTile();
            });
}

AgentController::~AgentController()
{
    m_worker.clear();
    m_worker.waitForDone();
}

std::optional<AppGroup> AgentController::group() const
{
    const auto own = ownGroup(m_services.bundle, m_services.config);
    if (own)
        return own.value();
    qCWarning(log).noquote() << own.error();
    return std::nullopt;
}

void AgentController::refreshTile()
{
    const auto own = group();
    if (!own)
        return;
    m_worker.start([this, &icons = m_services.icons(), group = *own] {
        icons.clearCache();
        const QImage tile = icons.image(group, tileSide);
        icons.clearCache(); // nobody else here asks for a tile of a megabyte
        QMetaObject::invokeMethod(
            this, [this, tile] { m_services.dockTile.setIcon(tile); }, Qt::QueuedConnection);
    });
}

void AgentController::selectGroup()
{
    // On the way from a click to the panel: the identifier says whose group it is, without a file to be read.
    if (const auto id = groupOfAgent(m_services.bundle.identifier))
        emit m_services.notifications.selectGroupByID(*id);
}

} // namespace cobblet
