#include "model/ConfigManager.h"

#include <algorithm>

namespace cobblet {

namespace {

template<class List, class Matches>
qsizetype position(const List &list, Matches matches)
{
    const auto it = std::find_if(list.cbegin(), list.cend(), matches);
    return it == list.cend() ? -1 : it - list.cbegin();
}

qsizetype groupAt(const QList<AppGroup> &groups, const QUuid &id)
{
    return position(groups, [&](const AppGroup &group) { return group.id == id; });
}

qsizetype appAt(const QList<AppItem> &apps, const QString &bundleID)
{
    return position(apps, [&](const AppItem &app) { return app.bundleID == bundleID; });
}

void removeAll(QList<AppItem> &apps, const QString &bundleID)
{
    apps.removeIf([&](const AppItem &app) { return app.bundleID == bundleID; });
}

} // namespace

// Every change is made on top of a list that may be newer than the one its caller saw, so each looks for
// what it names again, and finding it gone is no failure.

const AppGroup *ConfigManager::group(const QUuid &id) const
{
    const qsizetype at = groupAt(m_groups, id);
    return at < 0 ? nullptr : &m_groups.at(at);
}

std::optional<int> ConfigManager::shortcutDigit(const QUuid &id) const
{
    for (int digit = 1; digit <= 9; ++digit)
        if (const auto it = m_groupShortcuts.constFind(digit); it != m_groupShortcuts.cend() && *it == id)
            return digit;
    return std::nullopt;
}

void ConfigManager::changeGroup(const QUuid &id, const std::function<void(AppGroup &)> &change)
{
    changeGroups([id, change](QList<AppGroup> &groups) {
        if (const qsizetype at = groupAt(groups, id); at >= 0)
            change(groups[at]);
    });
}

void ConfigManager::addGroup(const AppGroup &group)
{
    AppGroup added = group;
    if (added.id == AppGroup::mostUsedID)
        added.id = QUuid::createUuid();
    const auto locked = lock();
    const bool changed = changeGroups([added](QList<AppGroup> &groups) {
        if (groupAt(groups, added.id) < 0)
            groups.append(added);
    });
    if (!changed || !this->group(added.id))
        return;
    changeShortcuts([&](QMap<int, QUuid> &shortcuts) {
        for (int digit = 1; digit <= 9; ++digit) {
            if (!shortcuts.contains(digit)) {
                shortcuts.insert(digit, added.id);
                return;
            }
        }
    });
}

void ConfigManager::renameGroup(const QUuid &id, const QString &name)
{
    changeGroup(id, [name](AppGroup &group) { group.name = name; });
}

void ConfigManager::deleteGroup(const QUuid &id)
{
    changeGroups([id](QList<AppGroup> &groups) {
        if (const qsizetype at = groupAt(groups, id); at >= 0)
            groups.removeAt(at);
    });
}

void ConfigManager::restoreGroup(const AppGroup &group, qsizetype index, const QList<int> &digits)
{
    const auto locked = lock();
    const bool changed = changeGroups([group, index](QList<AppGroup> &groups) {
        if (groupAt(groups, group.id) < 0)
            groups.insert(std::clamp(index, qsizetype(0), groups.size()), group);
    });
    if (!changed || !this->group(group.id))
        return;
    changeShortcuts([&](QMap<int, QUuid> &shortcuts) {
        for (const int digit : digits)
            if (!shortcuts.contains(digit))
                shortcuts.insert(digit, group.id);
    });
}

void ConfigManager::moveGroup(const QUuid &id, const QUuid &target)
{
    changeGroups([id, target](QList<AppGroup> &groups) {
        const qsizetype from = groupAt(groups, id);
        const qsizetype to = groupAt(groups, target);
        if (from >= 0 && to >= 0)
            groups.move(from, to);
    });
}

void ConfigManager::setPinned(const QUuid &id, bool pinned)
{
    changeGroup(id, [pinned](AppGroup &group) { group.isPinned = pinned; });
}

void ConfigManager::setStandalone(const QUuid &id, bool standalone)
{
    changeGroup(id, [standalone](AppGroup &group) { group.isStandalone = standalone; });
}

void ConfigManager::addApps(const QList<AppItem> &apps, const QUuid &group)
{
    changeGroup(group, [apps](AppGroup &changed) {
        for (const AppItem &app : apps)
            if (appAt(changed.apps, app.bundleID) < 0)
                changed.apps.append(app);
    });
}

void ConfigManager::removeApp(const QString &bundleID, const QUuid &group)
{
    changeGroup(group, [bundleID](AppGroup &changed) { removeAll(changed.apps, bundleID); });
}

void ConfigManager::moveApp(const QString &bundleID, const QString &target, const QUuid &group)
{
    changeGroup(group, [bundleID, target](AppGroup &changed) {
        const qsizetype from = appAt(changed.apps, bundleID);
        const qsizetype to = appAt(changed.apps, target);
        if (from >= 0 && to >= 0)
            changed.apps.move(from, to);
    });
}

void ConfigManager::moveApp(const QString &bundleID, const QUuid &fromGroup, const QUuid &toGroup)
{
    changeGroups([bundleID, fromGroup, toGroup](QList<AppGroup> &groups) {
        const qsizetype from = groupAt(groups, fromGroup);
        const qsizetype to = groupAt(groups, toGroup);
        if (from < 0 || to < 0 || from == to)
            return;
        const qsizetype at = appAt(groups.at(from).apps, bundleID);
        if (at < 0)
            return;
        const AppItem app = groups.at(from).apps.at(at);
        removeAll(groups[from].apps, bundleID);
        if (appAt(groups.at(to).apps, bundleID) < 0)
            groups[to].apps.append(app);
    });
}

void ConfigManager::updateGroup(const AppGroup &group)
{
    changeGroup(group.id, [group](AppGroup &changed) { changed = group; });
}

void ConfigManager::replaceGroups(const QList<AppGroup> &groups)
{
    changeGroups([groups](QList<AppGroup> &changed) { changed = groups; });
}

void ConfigManager::setShortcut(int digit, const QUuid &group)
{
    changeShortcuts([digit, group, this](QMap<int, QUuid> &changed) {
        if (group.isNull())
            changed.remove(digit);
        else if (digit >= 1 && digit <= 9 && this->group(group))
            changed[digit] = group;
    });
}

void ConfigManager::replaceShortcuts(const QMap<int, QUuid> &shortcuts)
{
    changeShortcuts([shortcuts](QMap<int, QUuid> &changed) { changed = shortcuts; });
}

} // namespace cobblet
