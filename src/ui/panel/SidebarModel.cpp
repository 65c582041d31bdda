#include "ui/panel/SidebarModel.h"

#include "ui/panel/DisplayText.h"

namespace cobblet {

QList<AppGroup> sidebarOrder(const QList<AppGroup> &groups)
{
    QList<AppGroup> order = groups;
    std::stable_partition(order.begin(), order.end(), [](const AppGroup &group) { return group.isPinned; });
    return order;
}

void SidebarModel::update(const QList<AppGroup> &groups, const QMap<int, QUuid> &digits, bool showsMostUsed)
{
    QList<SidebarRow> rows;
    rows.reserve(groups.size() + 1);
    if (showsMostUsed)
        rows.append({true, {}, QStringLiteral("Most Used"), QStringLiteral("⭐️"), {}});
    for (const AppGroup &group : groups) {
        const int digit = digits.key(group.id, 0); // the smallest one: the map is sorted by digit
        rows.append({false, group.id, displayText(group.name), displayText(group.emoji),
                     digit > 0 ? QStringLiteral("⌘%1").arg(digit) : QString()});
    }
    setRows(std::move(rows));
}

int SidebarModel::rowOfGroup(const QUuid &id) const
{
    for (int i = 0; i < rows().size(); ++i)
        if (!rows()[i].isMostUsed && rows()[i].groupID == id)
            return i;
    return -1;
}

int SidebarModel::rowOfMostUsed() const
{
    return !rows().isEmpty() && rows().front().isMostUsed ? 0 : -1;
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
    case HintRole:
        return tab.hint;
    case MostUsedRole:
        return tab.isMostUsed;
    default:
        return {};
    }
}

QHash<int, QByteArray> SidebarModel::roleNames() const
{
    return {{NameRole, "name"}, {EmojiRole, "emoji"}, {HintRole, "hint"}, {MostUsedRole, "isMostUsed"}};
}

} // namespace cobblet
