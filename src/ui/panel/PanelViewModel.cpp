#include "ui/panel/PanelViewModel.h"

#include "control/GroupActions.h"
#include "control/RunningAppsMonitor.h"
#include "control/UsageTracker.h"
#include "model/ConfigManager.h"
#include "model/Notifications.h"
#include "platform/Menus.h"
#include "platform/Workspace.h"
#include "ui/common/DisplayText.h"
#include "ui/panel/PanelMetrics.h"

#include <utility>

namespace cobblet {

PanelViewModel::PanelViewModel(const PanelDependencies &dependencies, QObject *parent)
    : QObject(parent), m_d(dependencies), m_actions(m_d), m_tiles(m_d.icons),
      m_grid(m_d.workspace, m_d.runningApps, m_tiles)
{
    connect(&m_d.config, &ConfigManager::groupsChanged, this, &PanelViewModel::reload);
    connect(&m_d.config, &ConfigManager::groupShortcutsChanged, this,
            [this] { m_sidebar.update(m_order, m_d.config.groupShortcuts()); });
    connect(&m_d.popupSettings, &PopupSettings::changed, this, &PanelViewModel::reload);
    const auto refreshMostUsed = [this] {
        if (m_visible && !groupOnShow())
            reloadContent();
    };
    connect(&m_d.usage, &UsageTracker::countsChanged, this, refreshMostUsed);
    connect(&m_d.workspace, &Workspace::installedApplicationsChanged, this, refreshMostUsed);

    connect(&m_tiles, &TileImages::changed, this, &PanelViewModel::addTileChanged);

    connect(&m_d.notifications, &NotificationCenter::selectGroupShortcut, this, &PanelViewModel::selectDigit);
    connect(&m_d.notifications, &NotificationCenter::selectGroupByID, this,
            [this](const QUuid &id) { select(SidebarSelection::group(id)); });
    reload();
}

void PanelViewModel::select(const SidebarSelection &selection)
{
    if (m_selection == selection)
        return;
    m_selection = selection;
    reloadContent();
}

const AppGroup *PanelViewModel::groupOnShow() const
{
    if (const auto id = m_selection.groupID()) {
        for (const AppGroup &group : m_order)
            if (group.id == *id)
                return &group;
    } else if (m_d.popupSettings.showsMostUsed()) {
        return nullptr;
    }
    // The selected tab is gone: its group was deleted, or Most Used is no longer offered.
    return m_order.isEmpty() ? nullptr : &m_order.front();
}

std::optional<AppGroup> PanelViewModel::selectedGroup() const
{
    const AppGroup *group = groupOnShow();
    return group ? std::optional(*group) : std::nullopt;
}

const QList<AppItem> &PanelViewModel::appsOnShow() const
{
    const AppGroup *group = groupOnShow();
    return group ? group->apps : m_mostUsed.apps;
}

void PanelViewModel::selectDigit(int digit)
{
    if (digit < 1 || digit > 9)
        return;
    const QUuid mapped = m_d.config.groupShortcuts().value(digit);
    for (const AppGroup &group : m_order)
        if (group.id == mapped)
            return select(SidebarSelection::group(mapped));
    if (digit <= m_order.size())
        select(SidebarSelection::group(m_order[digit - 1].id));
}

void PanelViewModel::reload()
{
    m_order = sidebarOrder(m_d.config.groups());
    m_sidebar.update(m_order, m_d.config.groupShortcuts());
    reloadContent();
}

void PanelViewModel::reloadContent()
{
    const AppGroup *group = groupOnShow();
    m_layout = m_d.popupSettings.effectiveLayout(group);
    if (group) {
        m_mostUsed = {};
        m_grid.show(group->apps);
    } else {
        m_mostUsed = m_order.isEmpty() ? AppGroup() : m_d.usage.mostUsed();
        const auto counts = m_d.usage.counts();
        m_grid.show(m_mostUsed.apps, &counts);
    }
    emit contentChanged();
    postDesiredSize();
}

QSizeF PanelViewModel::desiredSize() const
{
    return PanelMetrics::desiredPanelSize(groupOnShow(), m_layout);
}

void PanelViewModel::postDesiredSize()
{
    emit m_d.notifications.panelDesiredSizeChanged(desiredSize());
}

void PanelViewModel::setRoomWidth(double width)
{
    if (std::exchange(m_roomWidth, width) != width)
        emit roomWidthChanged();
}

int PanelViewModel::selectedRow() const
{
    const AppGroup *group = groupOnShow();
    return group ? m_sidebar.rowOfGroup(group->id) : -1;
}

PanelViewModel::Content PanelViewModel::content() const
{
    if (m_order.isEmpty())
        return Content::NoGroups;
    return groupOnShow() || !m_mostUsed.apps.isEmpty() ? Content::Grid : Content::NoLaunches;
}

QString PanelViewModel::contentID() const
{
    const AppGroup *group = groupOnShow();
    return group ? group->id.toString() : QString();
}

QString PanelViewModel::contentName() const
{
    const AppGroup *group = groupOnShow();
    return group ? displayText(group->name) : AppGroup::mostUsed().name;
}

bool PanelViewModel::showsToolRow() const
{
    return !appsOnShow().isEmpty();
}

void PanelViewModel::setModifiers(Qt::KeyboardModifiers modifiers)
{
    const bool command = modifiers.testFlag(Qt::ControlModifier);
    const bool option = modifiers.testFlag(Qt::AltModifier);
    if (command == m_isCommandPressed && option == m_isOptionPressed)
        return;
    m_isCommandPressed = command;
    m_isOptionPressed = option;
    emit modifiersChanged();
}

bool PanelViewModel::handleKey(int key, Qt::KeyboardModifiers modifiers)
{
    if (key != Qt::Key_Comma || modifiers != Qt::ControlModifier)
        return false;
    openSettings();
    return true;
}

void PanelViewModel::setVisible(bool visible)
{
    if (m_visible == visible)
        return;
    m_visible = visible;
    setModifiers({});
    if (visible && !groupOnShow())
        reloadContent();
    emit shownChanged();
}

void PanelViewModel::selectRow(int row)
{
    if (const SidebarRow *tab = m_sidebar.row(row))
        select(SidebarSelection::group(tab->groupID));
    else if (row == -1 && showsMostUsed())
        select(SidebarSelection::mostUsed());
}

void PanelViewModel::openSettings()
{
    emit m_d.notifications.openSettings();
}

void PanelViewModel::openAll()
{
    m_d.groupActions.openAll(appsOnShow());
}

void PanelViewModel::openStandalone()
{
    if (!offersStandalone())
        return;
    const QUuid id = groupOnShow()->id;
    emit m_d.notifications.closePanel();
    m_d.openStandalone(id);
}

void PanelViewModel::closeAll()
{
    switch (closeAllButton(m_isCommandPressed, m_isOptionPressed).action) {
    case CloseAll::Hide:
        return m_d.groupActions.hideAll(appsOnShow());
    case CloseAll::Quit:
        return m_d.groupActions.quitAll(appsOnShow());
    case CloseAll::ForceQuit:
        return m_d.groupActions.forceQuitAll(appsOnShow());
    }
}

void PanelViewModel::activateCell(int row)
{
    if (const GridCell *cell = m_grid.row(row); cell && m_grid.isInstalled(cell->app.bundleID))
        m_actions.openApp(cell->app.bundleID);
}

AppChooser *PanelViewModel::makeChooser(QObject *parent)
{
    const AppGroup *group = groupOnShow();
    if (!group)
        return nullptr;
    const QUuid id = group->id;
    return new AppChooser(
        m_d.workspace, [this, id](const QList<AppItem> &apps) { m_d.config.addApps(apps, id); },
        [this, id] { m_actions.chooseFiles(id); }, parent);
}

void PanelViewModel::showCellMenu(int row, const QPointF &position)
{
    const GridCell *cell = m_grid.row(row);
    if (!cell)
        return;
    const QString &bundleID = cell->app.bundleID;
    const AppGroup *group = groupOnShow();
    QList<AppGroup> others;
    if (group)
        for (const AppGroup &other : m_order)
            if (other.id != group->id)
                others.append(other);
    m_d.menus.popUp(
        m_actions.cellMenu({cell->app, m_grid.isRunning(bundleID), m_grid.isInstalled(bundleID)}, group, others),
        m_window, position);
}

void PanelViewModel::showGroupMenu(int row, const QPointF &position)
{
    const SidebarRow *tab = m_sidebar.row(row);
    if (const AppGroup *group = tab ? m_d.config.group(tab->groupID) : nullptr)
        m_d.menus.popUp(m_actions.groupMenu(*group), m_window, position);
}

void PanelViewModel::createGroup(const QString &name, const QString &emoji)
{
    const QUuid id = m_actions.createGroup(name, emoji);
    if (!id.isNull())
        select(SidebarSelection::group(id));
}

} // namespace cobblet
