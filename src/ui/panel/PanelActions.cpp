#include "ui/panel/PanelActions.h"

#include "control/GroupActions.h"
#include "model/ConfigManager.h"
#include "model/Notifications.h"
#include "platform/Dialogs.h"
#include "platform/Workspace.h"
#include "ui/common/AppFiles.h"
#include "ui/common/DisplayText.h"
#include "ui/common/Questions.h"

#include <QPointer>

namespace cobblet {

void PanelActions::openApp(const QString &bundleID)
{
    if (m_d.groupActions.openApp(bundleID))
        emit m_d.notifications.closePanel();
}

QUuid PanelActions::createGroup(const QString &name, const QString &emoji)
{
    AppGroup group;
    group.name = name.trimmed();
    if (group.name.isEmpty())
        return {};
    group.emoji = emoji.trimmed();
    if (group.emoji.isEmpty())
        group.emoji = QStringLiteral("📁");
    m_d.config.addGroup(group);
    return group.id;
}

void PanelActions::chooseFiles(const QUuid &group)
{
    chooseAppFiles(m_d.dialogs, m_d.workspace, [self = QPointer(this), group](const QList<AppItem> &apps) {
        if (self)
            self->m_d.config.addApps(apps, group);
    });
}

void PanelActions::deleteGroup(const QUuid &group)
{
    m_d.dialogs.ask(groupDeletionQuestion(), [self = QPointer(this), group](std::optional<int> button) {
        if (self && button == 0)
            self->m_d.config.deleteGroup(group);
    });
}

QList<MenuItem> PanelActions::cellMenu(const CellState &cell, const AppGroup *group, const QList<AppGroup> &others)
{
    // The menu may outlive the rows it was made from: its entries own what they act on.
    const QList<AppItem> one{cell.app};
    const QString bundleID = cell.app.bundleID;
    const auto entry = [](const QString &title, std::function<void()> action) {
        MenuItem item;
        item.title = title;
        item.action = std::move(action);
        return item;
    };

    QList<MenuItem> menu;
    if (cell.isRunning) {
        menu.append(entry(QStringLiteral("Show All Windows"), [this, bundleID] { openApp(bundleID); }));
        menu.append(entry(QStringLiteral("Hide"), [this, one] { m_d.groupActions.hideAll(one); }));
        menu.append(entry(QStringLiteral("Quit"), [this, one] { m_d.groupActions.quitAll(one); }));
        menu.append(entry(QStringLiteral("Force Quit"), [this, one] { m_d.groupActions.forceQuitAll(one); }));
    } else {
        menu.append(entry(QStringLiteral("Open"), [this, bundleID] { openApp(bundleID); }));
        menu.last().enabled = cell.isInstalled;
    }
    menu.append(entry(QStringLiteral("Show in Finder"), [this, bundleID] { m_d.workspace.reveal(bundleID); }));
    menu.last().enabled = cell.isInstalled;
    if (!group)
        return menu;

    MenuItem move;
    move.title = QStringLiteral("Move to");
    for (const AppGroup &other : others)
        move.children.append(entry(displayText(other.name), [this, bundleID, from = group->id, to = other.id] {
            m_d.config.moveApp(bundleID, from, to);
        }));
    move.enabled = !move.children.isEmpty();
    menu.append(move);
    menu.append(entry(QStringLiteral("Remove from ") + displayText(group->name),
                      [this, bundleID, from = group->id] { m_d.config.removeApp(bundleID, from); }));
    return menu;
}

QList<MenuItem> PanelActions::groupMenu(const AppGroup &group)
{
    return {{.title = group.isPinned ? QStringLiteral("Unpin") : QStringLiteral("Pin"),
             .symbol = group.isPinned ? QStringLiteral("pin.slash") : QStringLiteral("pin"),
             .action = [this, id = group.id, pinned = !group.isPinned] { m_d.config.setPinned(id, pinned); }},
            {.title = QStringLiteral("Delete"),
             .action = [this, id = group.id] { deleteGroup(id); },
             .destructive = true}};
}

} // namespace cobblet
