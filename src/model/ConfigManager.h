#pragma once

#include "model/AppGroup.h"
#include "model/GroupsFile.h"
#include "platform/Availability.h"

#include <QFileSystemWatcher>
#include <QMap>
#include <QObject>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>

namespace cobblet {

class FileLock;
class UserDefaults;

/// Owns the group list and the map of shortcut digits to groups: loads both, writes every change, follows
/// the changes that other processes make. Every change is made on top of the newest stored list under a lock
/// across processes. Main thread only.
class ConfigManager : public QObject {
    Q_OBJECT
public:
    struct Options {
        QString folder;          ///< where "groups.json" lives
        bool follows = true;     ///< other processes' changes arrive by themselves, not only with a change made here
        bool makesGroups = true; ///< someone who has no groups gets the first ones; an agent leaves that to Cobblet
        /// A file that is missing or does not decode may be about to be written: it counts once it was left alone
        /// for so long.
        std::chrono::milliseconds stillness{200};
    };

    /// What the save sequence causes above this room, in its order; what is not set is not done.
    struct Hooks {
        std::function<void()> dropGroupIcons;            ///< the group-icon cache is out of date
        std::function<void()> refreshShortcutParameters; ///< group names as the assistants know them; not in agents
    };

    /// Loads both properties, as the fallbacks prescribe, and writes them back. `standardDefaults` is the domain that
    /// all processes with these groups share: each keeps the second copy there up to date.
    ConfigManager(Options options, UserDefaults &standardDefaults, Hooks hooks = {}, QObject *parent = nullptr);
    ~ConfigManager() override;

    const QList<AppGroup> &groups() const { return m_groups; }
    const QMap<int, QUuid> &groupShortcuts() const { return m_groupShortcuts; }
    /// Null when no group has the id; valid until the next change.
    const AppGroup *group(const QUuid &id) const;
    /// The smallest digit from 1 to 9 that selects the group; absent when none does.
    std::optional<int> shortcutDigit(const QUuid &id) const;
    /// Whether the last change reached the file, or why it is kept in memory and in the preferences only.
    const Status &saved() const { return m_fileWrite; }
    /// All digits that select the group.
    QList<int> shortcutDigits(const QUuid &id) const { return m_groupShortcuts.keys(id); }

    /// How the file with the groups and their second copy are doing, as a person is told.
    QList<Capability> storage() const;

    // Changes. An unknown group, or arguments that change nothing, leave everything as it is.

    /// Appends the group and gives it the smallest free digit from 1 to 9, if any. A group whose id is in the
    /// list already is not added again.
    void addGroup(const AppGroup &group);
    void renameGroup(const QUuid &id, const QString &name);
    void deleteGroup(const QUuid &id);
    /// Puts a deleted group back at `index`, or at the end of a shorter list, with those of its digits that no other
    /// group has by now.
    void restoreGroup(const AppGroup &group, qsizetype index, const QList<int> &digits);
    /// Moves the group to the place of `target`; the rest close up, in both directions.
    void moveGroup(const QUuid &id, const QUuid &target);
    void setPinned(const QUuid &id, bool pinned);
    /// Whether the group is an application of its own.
    void setStandalone(const QUuid &id, bool standalone);
    /// Appends those applications that the group does not hold yet (by bundle identifier).
    void addApps(const QList<AppItem> &apps, const QUuid &group);
    void removeApp(const QString &bundleID, const QUuid &group);
    /// Moves the application to the place of `target`; the rest close up, in both directions.
    void moveApp(const QString &bundleID, const QString &target, const QUuid &group);
    /// Moves the application to the end of another group, or just removes it here when it is there already.
    void moveApp(const QString &bundleID, const QUuid &fromGroup, const QUuid &toGroup);
    /// Makes the change to the stored group as it is by then.
    void changeGroup(const QUuid &id, const std::function<void(AppGroup &)> &change);
    /// Replaces the stored group of the same id.
    void updateGroup(const AppGroup &group);
    /// Replaces the whole list.
    void replaceGroups(const QList<AppGroup> &groups);
    /// The digit, from 1 to 9, selects the group from now on; a null id takes the digit away from the one that has
    /// it.
    void setShortcut(int digit, const QUuid &group);
    /// Replaces the whole shortcut map.
    void replaceShortcuts(const QMap<int, QUuid> &shortcuts);

signals:
    /// Emitted synchronously, and only when the list really differs from before.
    void groupsChanged();
    void groupShortcutsChanged();

private:
    using GroupChange = std::function<void(QList<AppGroup> &)>;
    using ShortcutChange = std::function<void(QMap<int, QUuid> &)>;

    /// The lock across processes, held while anybody keeps it: observers may make changes of their own.
    std::shared_ptr<FileLock> lock();
    /// Makes the change on top of the newest stored list and saves it; whether it changed anything.
    bool changeGroups(const GroupChange &change);
    void changeShortcuts(const ShortcutChange &change);

    /// The stored list, if it may be another one than is in memory: that of the file, or the copy where there is
    /// none.
    std::optional<QList<AppGroup>> storedNews();
    /// The list in the preferences; absent when there is none of use.
    std::optional<QList<AppGroup>> storedCopy();
    Availability fileState() const;
    Availability copyState() const;
    QMap<int, QUuid> storedShortcuts() const;
    bool publish(const QList<AppGroup> &groups);
    void publish(const QMap<int, QUuid> &shortcuts);
    void saveGroups(const Status &mayWrite);
    void saveCopy(const QByteArray &json);
    void saveShortcuts();
    void pruneShortcuts();
    /// Whether the preferences hold it now.
    bool store(const QString &key, const QByteArray &bytes);
    void runHooks();

    void followGroups();
    /// Takes in what is stored, and saves what is not yet: in the file, or in the copy.
    void reload();
    void followShortcuts();
    void watch();

    const Options m_options;
    const Hooks m_hooks;
    UserDefaults &m_defaults;
    GroupsFile m_file;
    std::unique_ptr<QFileSystemWatcher> m_watcher; ///< null when nothing is followed
    QTimer m_settling; ///< runs while the file or the copy is yet to be brought up to date
    std::weak_ptr<FileLock> m_lock;

    QList<AppGroup> m_groups;
    QMap<int, QUuid> m_groupShortcuts;
    /// Changes that the file could not take. They are made again on top of what another process writes.
    QList<GroupChange> m_unsaved;
    bool m_copyIsOld = false;    ///< the list was read from the file since the copy was last known to be the same
    bool m_isUnfinished = false; ///< so the file was at the last look under the lock
    Status m_fileWrite;          ///< the outcome of the last write
    bool m_defaultsFail = false;
};

} // namespace cobblet
