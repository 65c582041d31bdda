#pragma once

#include "model/AppGroup.h"
#include "ui/common/ListRows.h"

#include <QHash>
#include <QMap>

#include <QtQml/qqmlregistration.h>

#include <optional>

namespace cobblet {

class RunningAppsMonitor;
class TileImages;
class Workspace;

/// The cell of an application.
struct GridCell {
    AppItem app;
    qint64 count = -1; ///< launches; -1 shows none

    bool operator==(const GridCell &) const = default;
};

/// The cells of the selected group, or of Most Used. Whether an application is installed, and its icon, are
/// looked up when a cell first asks.
class AppGridModel : public ListRows<GridCell> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Panel.grid is the one instance.")
public:
    enum Role { NameRole = Qt::UserRole, CountRole, InstalledRole, RunningRole, TileRole };
    using Counts = QMap<QString, qint64>;

    AppGridModel(Workspace &workspace, RunningAppsMonitor &running, TileImages &tiles, QObject *parent = nullptr);

    /// `counts` is given for Most Used only.
    void show(const QList<AppItem> &apps, const Counts *counts = nullptr);

    bool isInstalled(const QString &bundleID) const;
    bool isRunning(const QString &bundleID) const;

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    void preload();
    void refreshTiles(const QStringList &bundleIDs);

    Workspace &m_workspace;
    RunningAppsMonitor &m_running;
    TileImages &m_tiles;
    mutable QHash<QString, bool> m_installed;
};

} // namespace cobblet
