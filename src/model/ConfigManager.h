#pragma once

#include "model/AppGroup.h"

#include <QMap>
#include <QObject>

#include <functional>

class QFileSystemWatcher;

namespace cobblet {

class UserDefaults;

/// Owns the group list and the map of shortcut digits to groups: loads both, writes every change, follows
/// the changes that other processes make. Every change is made on top of the newest stored list under a lock
/// across processes. Main thread only.
class ConfigManager : public QObject {
    Q_OBJECT
public:
    struct Options {
        QString folder;       ///< where "groups.json" lives
        bool isAgent = false; ///< an agent does not refresh the App Shortcuts parameters
    };

    /// What the save sequence causes above this room, in its order. Set before the first load.
    struct Hooks {
        std::function<void()> dropGroupIcons;           ///< the group-icon cache is out of date
        std::function<void()> refreshShortcutParameters; ///< group names as the assistants know them
    };

    /// Loads both properties, as the fallbacks prescribe, and writes them back.
    ConfigManager(Options options, UserDefaults &standardDefaults, Hooks hooks = {}, QObject *parent = nullptr);
    ~ConfigManager() override;

    const QList<AppGroup> &groups() const { return m_groups; }
    const QMap<int, QUuid> &groupShortcuts() const { return m_groupShortcuts; }
    /// Null when no group has the id; valid until the next change.
    const AppGroup *group(const QUuid &id) const;
    /// The smallest digit that selects the group; absent when none does.
    std::optional<int> shortcutDigit(const QUuid &id) const;

    // Changes. An unknown group, or arguments that change nothing, leave everything as it is.

    /// Appends the group and gives it the smallest free digit from 1 to 9, if any.
    void addGroup(const AppGroup &group);
    void renameGroup(const QUuid &id, const QString &name);
    void deleteGroup(const QUuid &id);
    /// Moves the group to the place of `target`; the rest close up, in both directions.
    void moveGroup(const QUuid &id, const QUuid &target);
    void setPinned(const QUuid &id, bool pinned);
    /// Appends those applications that the group does not hold yet (by bundle identifier).
    void addApps(const QList<AppItem> &apps, const QUuid &group);
    void removeApp(const QString &bundleID, const QUuid &group);
    /// Moves the application to the place of `target`; the rest close up, in both directions.
    void moveApp(const QString &bundleID, const QString &target, const QUuid &group);
    /// Moves the application to the end of another group, or just removes it here when it is there already.
    void moveApp(const QString &bundleID, const QUuid &fromGroup, const QUuid &toGroup);
    /// Replaces the stored group of the same id.
    void updateGroup(const AppGroup &group);
    /// Replaces the whole list.
    void replaceGroups(const QList<AppGroup> &groups);
    /// Replaces the whole shortcut map.
    void replaceShortcuts(const QMap<int, QUuid> &shortcuts);

signals:
    /// Emitted synchronously, and only when the list really differs from before.
    void groupsChanged();
    void groupShortcutsChanged();

private:
    QList<AppGroup> m_groups;
    QMap<int, QUuid> m_groupShortcuts;
};

} // namespace cobblet
