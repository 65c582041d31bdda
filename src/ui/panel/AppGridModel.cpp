#include "ui/panel/AppGridModel.h"

#include "control/RunningAppsMonitor.h"
#include "platform/Workspace.h"
#include "ui/common/DisplayText.h"
#include "ui/panel/TileImages.h"

#include <limits>

namespace cobblet {

AppGridModel::AppGridModel(Workspace &workspace, RunningAppsMonitor &running, TileImages &tiles, QObject *parent)
    : ListRows(parent), m_workspace(workspace), m_running(running), m_tiles(tiles)
{
    connect(&running, &RunningAppsMonitor::runningBundleIDsChanged, this, [this] { allRowsChanged({RunningRole}); });
    connect(&workspace, &Workspace::installedApplicationsChanged, this, [this] {
        m_installed.clear();
        allRowsChanged({InstalledRole, RunningRole});
    });
    connect(&tiles, &TileImages::loaded, this, &AppGridModel::refreshTiles);
    connect(&tiles, &TileImages::changed, this, [this] {
        preload();
        allRowsChanged({TileRole});
    });
}

void AppGridModel::show(const QList<AppItem> &apps, const Counts *counts)
{
    QList<GridCell> cells;
    cells.reserve(apps.size());
    for (const AppItem &app : apps)
        cells.append({app, counts ? counts->value(app.bundleID) : -1});
    setRows(std::move(cells));
    preload();
}

void AppGridModel::preload()
{
    QStringList bundleIDs;
    bundleIDs.reserve(rows().size());
    for (const GridCell &cell : rows())
        bundleIDs.append(cell.app.bundleID);
    m_tiles.preload(bundleIDs);
}

bool AppGridModel::isInstalled(const QString &bundleID) const
{
    const auto known = m_installed.constFind(bundleID);
    if (known != m_installed.cend())
        return *known;
    const bool installed = m_workspace.application(bundleID).has_value();
    m_installed.insert(bundleID, installed);
    return installed;
}

bool AppGridModel::isRunning(const QString &bundleID) const
{
    return m_running.runningBundleIDs().contains(m_workspace.resolved(bundleID));
}

void AppGridModel::refreshTiles(const QStringList &bundleIDs)
{
    for (int i = 0; i < rows().size(); ++i)
        if (bundleIDs.contains(rows()[i].app.bundleID))
            emit dataChanged(index(i), index(i), {TileRole});
}

QVariant AppGridModel::data(const QModelIndex &index, int role) const
{
    if (!isRow(index))
        return {};
    const GridCell &cell = rows()[index.row()];
    switch (role) {
    case NameRole:
        return displayText(cell.app.name);
    case CountRole:
        return int(std::min<qint64>(cell.count, std::numeric_limits<int>::max()));
    case InstalledRole:
        return isInstalled(cell.app.bundleID);
    case RunningRole:
        return isRunning(cell.app.bundleID);
    case TileRole:
        return m_tiles.tile(cell.app.bundleID);
    default:
        return {};
    }
}

QHash<int, QByteArray> AppGridModel::roleNames() const
{
    return {{NameRole, "name"},
            {CountRole, "count"},
            {InstalledRole, "isInstalled"},
            {RunningRole, "isRunning"},
            {TileRole, "tile"}};
}

} // namespace cobblet
