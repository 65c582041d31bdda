#include "ui/settings/SettingsViewModel.h"

#include "model/ConfigManager.h"
#include "platform/Dialogs.h"
#include "platform/Menus.h"
#include "platform/Pasteboard.h"
#include "platform/UserDefaults.h"
#include "ui/common/Questions.h"
#include "ui/settings/GroupDrafts.h"

#include <QPointer>

#include <algorithm>

namespace cobblet {

namespace {

const QString pageKey = QStringLiteral("settingsPage");

} // namespace

SettingsViewModel::SettingsViewModel(const SettingsDependencies &dependencies, GroupDrafts &drafts, QObject *parent)
    : QObject(parent), m_d(dependencies), m_drafts(drafts), m_preferences(m_d.sharedDefaults)
{
    connect(&m_d.config, &ConfigManager::groupsChanged, this, &SettingsViewModel::followGroups);
    connect(&m_drafts, &GroupDrafts::membersChanged, this, &SettingsViewModel::followGroups);
    followGroups();
    const auto last = SettingsSidebarItem::fromText(m_d.standardDefaults.string(pageKey).value_or(QString()));
    m_item = last.value_or(SettingsSidebarItem());
    if (m_item.kind == SettingsSidebarItem::Kind::Group && groupRow() < 0)
        m_item = {};
}

KeyboardShortcuts *SettingsViewModel::shortcuts()
{
    if (!m_shortcuts)
        m_shortcuts.emplace(m_d.config, m_d.hotkeys);
    return &*m_shortcuts;
}

SiriCommands *SettingsViewModel::siri()
{
    if (!m_siri)
        m_siri.emplace(m_d.workspace);
    return &*m_siri;
}

QVariantList SettingsViewModel::pages() const
{
    QVariantList pages;
    for (const SettingsPageEntry &page : settingsPages())
        pages.append(QVariantMap{{QStringLiteral("title"), page.title}, {QStringLiteral("symbol"), page.symbol}});
    return pages;
}

void SettingsViewModel::select(const SettingsSidebarItem &item)
{
    if (m_item == item)
        return;
    m_item = item;
    setGoneNotice({});
    if (m_editor && m_item.kind == SettingsSidebarItem::Kind::Group)
        m_editor->open(m_item.groupID);
    // Which page was open is worth keeping, but not worth an alert.
    (void)m_d.standardDefaults.set(pageKey, item.text());
    emit sidebarItemChanged();
}

GroupEditor *SettingsViewModel::editor()
{
    if (!m_editor) {
        m_editor.emplace(GroupEditor::Services{m_d.config, m_drafts, m_preferences, m_d.workspace, m_d.icons,
                                               m_d.groupIcons, m_d.running, m_d.distributedNotifications,
                                               m_d.dialogs});
        m_editor->open(m_item.groupID);
    }
    return &*m_editor;
}

int SettingsViewModel::groupRow() const
{
    return m_item.kind == SettingsSidebarItem::Kind::Group ? m_groups.rowOfGroup(m_item.groupID) : -1;
}

int SettingsViewModel::pageRow() const
{
    const auto page = std::ranges::find(settingsPages(), m_item.kind, &SettingsPageEntry::kind);
    return page == settingsPages().end() ? -1 : int(page - settingsPages().begin());
}

QString SettingsViewModel::pageSource() const
{
    if (groupRow() >= 0)
        return QStringLiteral("AppListView.qml");
    const int row = pageRow();
    return row < 0 ? QString() : settingsPages()[row].source;
}

bool SettingsViewModel::handleKey(int key, Qt::KeyboardModifiers modifiers)
{
    if (modifiers != Qt::ControlModifier || key != Qt::Key_W) // the Command key, as Qt maps it
        return false;
    emit closeRequested();
    return true;
}

void SettingsViewModel::selectGroup(int row)
{
    if (const GroupRowData *group = m_groups.row(row))
        select(SettingsSidebarItem::group(group->groupID));
}

void SettingsViewModel::selectPage(int row)
{
    if (row >= 0 && row < settingsPages().size())
        select({settingsPages()[row].kind});
}

void SettingsViewModel::step(int by)
{
    const int groups = m_groups.rowCount();
    const int now = groupRow() >= 0 ? groupRow() : groups + pageRow();
    const int to = now + by;
    if (to < 0 || to >= groups + settingsPages().size())
        return;
    if (to < groups)
        selectGroup(to);
    else
        selectPage(to - groups);
}

void SettingsViewModel::addGroup(const QString &name, const QString &emoji)
{
    AppGroup group;
    group.name = name.trimmed();
    group.emoji = emoji;
    if (group.name.isEmpty())
        return;
    m_pendingNewGroupID = group.id;
    m_d.config.addGroup(group);
}

void SettingsViewModel::deleteGroup(int row)
{
    const GroupRowData *group = m_groups.row(row);
    if (!group)
        return;
    m_d.dialogs.ask(groupDeletionQuestion(), [self = QPointer(this), id = group->groupID](std::optional<int> button) {
        if (!self || button != 0)
            return;
        self->m_deletedID = id;
        self->m_d.config.deleteGroup(id);
    });
}

void SettingsViewModel::showGroupMenu(int row, const QPointF &position)
{
    const GroupRowData *group = m_groups.row(row);
    if (!group)
        return;
    const bool pinned = group->isPinned;
    m_d.menus.popUp(
        {{.title = pinned ? QStringLiteral("Unpin") : QStringLiteral("Pin"),
          .symbol = pinned ? QStringLiteral("pin.slash") : QStringLiteral("pin"),
          .action = [&config = m_d.config, id = group->groupID, pinned] { config.setPinned(id, !pinned); }},
         {},
         {.title = QStringLiteral("Delete"),
          .symbol = QStringLiteral("trash"),
          .action = [this, id = group->groupID] { deleteGroup(m_groups.rowOfGroup(id)); },
          .destructive = true}},
        m_window, position);
}

void SettingsViewModel::setGoneNotice(const QString &notice)
{
    if (m_goneNotice == notice)
        return;
    m_goneNotice = notice;
    emit goneNoticeChanged();
}

void SettingsViewModel::copy(const QString &text)
{
    m_d.pasteboard.setText(text);
}

SettingEntry SettingsViewModel::setting(const QString &id) const
{
    const auto found = std::ranges::find(settingEntries(), id, &SettingEntry::id);
    return found == settingEntries().end() ? SettingEntry() : *found;
}

void SettingsViewModel::followGroups()
{
    const int row = groupRow();
    const GroupRowData shown = row < 0 ? GroupRowData() : m_groups.rows()[row];
    m_groups.update(m_d.config.groups(), [this](const AppGroup &group) { return m_drafts.hasDraft(group.id); });
    if (m_pendingNewGroupID && m_groups.rowOfGroup(*m_pendingNewGroupID) >= 0) {
        select(SettingsSidebarItem::group(*m_pendingNewGroupID));
        m_pendingNewGroupID.reset();
    } else if (row >= 0 && groupRow() < 0) {
        // The group on show is gone: the one that took its place, or what stands above it.
        if (m_groups.rowCount() > 0)
            selectGroup(std::min(row, m_groups.rowCount() - 1));
        else
            select({});
        if (shown.groupID != m_deletedID)
            setGoneNotice(QStringLiteral("“%1” was deleted elsewhere.").arg(shown.name) +
                          (shown.hasDraft ? QStringLiteral(" Your changes to it were not applied.") : QString()));
    } else if (row != groupRow()) {
        emit sidebarItemChanged();
    }
}

} // namespace cobblet
