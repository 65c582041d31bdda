#include "ui/settings/GroupRows.h"

#include "ui/common/DisplayText.h"

namespace cobblet {

void GroupRows::update(const QList<AppGroup> &groups, const std::function<bool(const AppGroup &)> &hasDraft)
{
    QList<GroupRowData> rows;
    rows.reserve(groups.size());
    for (const AppGroup &group : groups)
        rows.append({group.id, displayText(group.name), displayText(group.emoji), int(group.apps.size()),
                     group.isPinned, hasDraft(group)});
    setRows(std::move(rows), &GroupRowData::groupID);
}

int GroupRows::rowOfGroup(const QUuid &id) const
{
    const auto found = std::ranges::find(rows(), id, &GroupRowData::groupID);
    return found == rows().end() ? -1 : int(found - rows().begin());
}

QVariant GroupRows::data(const QModelIndex &index, int role) const
{
    if (!isRow(index))
        return {};
    const GroupRowData &group = rows()[index.row()];
    switch (role) {
    case NameRole:
        return group.name;
    case EmojiRole:
        return group.emoji;
    case AppsRole:
        return group.apps;
    case IsPinnedRole:
        return group.isPinned;
    case HasDraftRole:
        return group.hasDraft;
    default:
        return {};
    }
}

QHash<int, QByteArray> GroupRows::roleNames() const
{
    return {{NameRole, "name"},
            {EmojiRole, "emoji"},
            {AppsRole, "apps"},
            {IsPinnedRole, "isPinned"},
            {HasDraftRole, "hasDraft"}};
}

} // namespace cobblet
