#include "ui/settings/SettingsViewModel.h"

#include "control/GroupSuggestionService.h"
#include "model/ConfigManager.h"
#include "platform/Dialogs.h"
#include "platform/Menus.h"
#include "platform/Pasteboard.h"
#include "platform/UserDefaults.h"
#include "ui/common/Questions.h"
#include "ui/settings/GroupDrafts.h"
#include "ui/settings/SidebarRows.h"

#include <QPointer>

#include <algorithm>

namespace cobblet {

namespace {

const QString pageKey = QStringLiteral("settingsPage");
const QString widthKey = QStringLiteral("settingsSidebarWidth");

} // namespace

SettingsViewModel::SettingsViewModel(const SettingsDependencies &dependencies, GroupDrafts &drafts, QObject *parent)
    : QObject(parent), m_d(dependencies), m_drafts(drafts), m_preferences(m_d.sharedDefaults),
      m_deleted(m_d.config, m_d.scheduler)
{
    connect(&m_d.config, &ConfigManager::groupsChanged, this, &SettingsViewModel::followGroups);
    connect(&m_drafts, &GroupDrafts::membersChanged, this, &SettingsViewModel::followGroups);
    connect(&m_deleted, &DeletedGroups::restored, this, [this](const QUuid &id) {
        m_deletedID = {};
        select(SettingsSidebarItem::group(id));
    });
    connect(&m_d.suggestions, &GroupSuggestionService::suggestionsChanged, this,
            &SettingsViewModel::followSuggestions);
    followGroups();
    const auto last = SettingsSidebarItem::fromText(m_d.standardDefaults.string(pageKey).value_or(QString()));
    m_item = last.value_or(SettingsSidebarItem());
    if (m_item.kind == SettingsSidebarItem::Kind::Group && groupRow() < 0)
        m_item = {};
    if (const qint64 width = m_d.standardDefaults.integer(widthKey))
        m_sidebarWidth = int(std::clamp<qint64>(width, minimumSidebarWidth, maximumSidebarWidth));
}

SettingsViewModel::~SettingsViewModel()
{
    // Worth keeping, but not worth an alert; nor a write for each row that the arrows pass.
    (void)m_d.standardDefaults.set(pageKey, m_item.text());
    (void)m_d.standardDefaults.set(widthKey, m_sidebarWidth);
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

DiagnosticsModel *SettingsViewModel::diagnostics()
{
    if (!m_diagnostics)
        m_diagnostics.emplace(m_d.diagnostics(), m_d.workspace, m_d.pasteboard);
    return &*m_diagnostics;
}

QVariantList SettingsViewModel::pages() const
{
    return pageRows();
}

void SettingsViewModel::select(const SettingsSidebarItem &item)
{
    setActionRow(-1);
    if (m_item == item)
        return;
    m_item = item;
    setGoneNotice({});
    if (m_editor && m_item.kind == SettingsSidebarItem::Kind::Group)
        m_editor->open(m_item.groupID);
    emit sidebarItemChanged();
    emit placeChanged();
}

void SettingsViewModel::setActionRow(int row)
{
    if (m_actionRow == row)
        return;
    m_actionRow = row;
    emit placeChanged();
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
    const bool isCommand = modifiers == Qt::ControlModifier; // the Command key, as Qt maps it
    if (isCommand && key == Qt::Key_W)
        emit closeRequested();
    else if (isCommand && key == Qt::Key_F)
        emit searchRequested();
    else if (modifiers == Qt::NoModifier && key == Qt::Key_F2 && groupRow() >= 0)
        emit nameRequested();
    else
        return isCommand && key == Qt::Key_Comma; // which opens the settings
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
    const int actions = this->actions();
    const int last = groups + actions + int(settingsPages().size()) - 1;
    const int now = m_actionRow >= 0  ? groups + m_actionRow
                    : groupRow() >= 0 ? groupRow()
                                      : groups + actions + pageRow();
    const int to = std::clamp(now + by, 0, last);
    if (to < groups)
        selectGroup(to);
    else if (to < groups + actions)
        setActionRow(to - groups);
    else
        selectPage(to - groups - actions);
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

QVariantList SettingsViewModel::suggestions() const
{
    return suggestionRows(m_d.suggestions.suggestions());
}

void SettingsViewModel::addSuggestion(int row)
{
    const auto suggestions = m_d.suggestions.suggestions();
    const auto group = row >= 0 && row < suggestions.size() ? m_d.suggestions.add(suggestions[row].id) : std::nullopt;
    if (!group)
        return;
    m_pendingNewGroupID = group->id;
    m_d.config.addGroup(*group);
}

void SettingsViewModel::dismissSuggestion(int row)
{
    const auto suggestions = m_d.suggestions.suggestions();
    if (row >= 0 && row < suggestions.size())
        m_d.suggestions.dismiss(suggestions[row].id);
}

int SettingsViewModel::actions() const
{
    return int(m_d.suggestions.suggestions().size()) + 1;
}

void SettingsViewModel::followSuggestions()
{
    m_actionRow = std::min(m_actionRow, actions() - 1);
    emit suggestionsChanged();
    emit placeChanged(); // the rows are new ones
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
        self->m_deleted.deleteGroup(id);
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
          .action =
              [self = QPointer(this), id = group->groupID] {
                  if (self) // the menu may outlive the window
                      self->deleteGroup(self->m_groups.rowOfGroup(id));
              },
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

void SettingsViewModel::moveGroup(int by)
{
    const GroupRowData *group = m_groups.row(groupRow());
    const GroupRowData *target = group ? m_groups.row(groupRow() + by) : nullptr;
    if (target)
        m_d.config.moveGroup(group->groupID, target->groupID);
}

void SettingsViewModel::beginDrag(int row)
{
    if (const GroupRowData *group = m_groups.row(row))
        m_dragged = group->groupID;
}

void SettingsViewModel::dragTo(int row)
{
    const int from = m_dragged ? m_groups.rowOfGroup(*m_dragged) : -1;
    if (from < 0 || from == row || !m_groups.row(row))
        return;
    m_groups.move(from, row);
    emit placeChanged();
}

void SettingsViewModel::endDrag(bool keep)
{
    const auto dragged = std::exchange(m_dragged, std::nullopt);
    const int row = dragged ? m_groups.rowOfGroup(*dragged) : -1;
    if (row < 0)
        return;
    // In the stored order, which is that of the rows but for this one, its place is another group's.
    if (const auto &stored = m_d.config.groups(); keep && row < stored.size())
        m_d.config.moveGroup(*dragged, stored[row].id);
    followGroups();
}

void SettingsViewModel::setQuery(const QString &query)
{
    if (m_query == query)
        return;
    m_query = query;
    if (query.trimmed().isEmpty())
        m_index.reset();
    else if (!m_index)
        m_index.emplace(m_d.config.groups());
    m_hits = m_index ? m_index->find(query) : QList<SearchHit>();
    emit queryChanged();
}

QVariantList SettingsViewModel::hits() const
{
    return hitRows(m_hits);
}

void SettingsViewModel::openHit(int row)
{
    if (row < 0 || row >= m_hits.size())
        return;
    const SearchHit hit = m_hits[row];
    setQuery({});
    select(hit.item);
    if (hit.setting.isEmpty())
        emit rowRequested();
    else
        emit settingFound(hit.setting);
}

void SettingsViewModel::setSidebarWidth(int width)
{
    width = std::clamp(width, minimumSidebarWidth, maximumSidebarWidth);
    if (m_sidebarWidth == width)
        return;
    m_sidebarWidth = width;
    emit sidebarWidthChanged();
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
    const int draggedRow = m_dragged ? m_groups.rowOfGroup(*m_dragged) : -1;
    m_groups.update(m_d.config.groups(), [this](const AppGroup &group) { return m_drafts.hasDraft(group.id); });
    if (m_index) {
        m_index.emplace(m_d.config.groups());
        m_hits = m_index->find(m_query);
        emit queryChanged();
    }
    if (m_dragged && m_groups.rowOfGroup(*m_dragged) < 0) {
        m_dragged.reset();
        emit dragCancelled();
    } else if (m_dragged) {
        m_groups.move(m_groups.rowOfGroup(*m_dragged), std::min(draggedRow, m_groups.rowCount() - 1));
    }
    if (m_pendingNewGroupID && m_groups.rowOfGroup(*m_pendingNewGroupID) >= 0) {
        select(SettingsSidebarItem::group(*m_pendingNewGroupID));
        m_pendingNewGroupID.reset();
    } else if (row >= 0 && groupRow() < 0) {
        // The group on show is gone: the one that took its place, or what stands above it.
        if (m_groups.rowCount() > 0)
            selectGroup(std::min(row, m_groups.rowCount() - 1));
        else
            select({});
        emit rowRequested(); // what is typed is not meant for the group that is shown now
        if (shown.groupID != m_deletedID)
            setGoneNotice(QStringLiteral("“%1” was deleted elsewhere.").arg(shown.name) +
                          (shown.hasDraft ? QStringLiteral(" Your changes to it were not applied.") : QString()));
    } else if (row != groupRow()) {
        emit placeChanged();
    }
}

} // namespace cobblet
