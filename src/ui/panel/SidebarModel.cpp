#include "ui/panel/SidebarModel.h"

#include "ui/common/DisplayText.h"

namespace cobblet {

QList<AppGroup> sidebarOrder(const QList<AppGroup> &groups)
{
    QList<AppGroup> order = groups;
    std::stable_partition(order.begin(), order.end(), [](const AppGroup &group) { return group.isPinned; });
    return order;
}

void SidebarModel::update(const QList<AppGroup> &groups, const QMap<int, QUuid> &digits)
{
    QList<SidebarRow> rows;
    rows.reserve(groups.size());
    for (const AppGroup &group : groups) // the smallest digit: the map is sorted
        rows.append({group.id, displayText(group.name), displayText(group.emoji), digits.key(group.id, 0)});
    setRows(std::move(rows));
}

int SidebarModel::rowOfGroup(const QUuid &id) const
{
    const auto found = std::ranges::find(rows(), id, &SidebarRow::groupID);
    return found == rows().end() ? -1 : int(found - rows().begin());
}

QVariant SidebarModel::data(const QModelIndex &index, int role) const
{
    if (!isRow(index))
        return {};
    const SidebarRow &tab = rows()[index.row()];
    switch (role) {
    case NameRole:
        return tab.name;
    case EmojiRole:
        return tab.emoji;
    case ShortcutDigitRole:
        return tab.shortcutDigit;
    default:
        return {};
    }
}

QHash<int, QByteArray> SidebarModel::roleNames() const
{
    return {{NameRole, "name"}, {EmojiRole, "emoji"}, {ShortcutDigitRole, "shortcutDigit"}};
}

} // namespace cobblet
