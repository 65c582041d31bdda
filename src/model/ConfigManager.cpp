#include "model/ConfigManager.h"

#include "model/FirstRunGroups.h"
#include "model/GroupCoding.h"
#include "platform/FileLock.h"
#include "platform/UserDefaults.h"

#include <QDir>
#include <QLoggingCategory>
#include <QSet>

#include <algorithm>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.model")

const QString shortcutsKey = QStringLiteral("cobblet_shortcuts");

/// Gives a fresh id to a group that has the reserved one or that of a group before it; whether one had.
bool giveUsableIds(QList<AppGroup> &groups)
{
    QSet<QUuid> used{AppGroup::mostUsedID};
    used.reserve(groups.size() + 1);
    bool changed = false;
    for (qsizetype i = 0; i < groups.size(); ++i) {
        if (used.contains(groups.at(i).id)) {
            groups[i].id = QUuid::createUuid();
            changed = true;
        }
        used.insert(groups.at(i).id);
    }
    return changed;
}

void removeUnknown(QMap<int, QUuid> &shortcuts, const QList<AppGroup> &groups)
{
    QSet<QUuid> ids;
    for (const AppGroup &group : groups)
        ids.insert(group.id);
    shortcuts.removeIf([&](const std::pair<const int &, QUuid &> &entry) { return !ids.contains(entry.second); });
}

} // namespace

ConfigManager::ConfigManager(Options options, UserDefaults &standardDefaults, Hooks hooks, QObject *parent)
    : QObject(parent), m_options(std::move(options)), m_hooks(std::move(hooks)), m_defaults(standardDefaults),
      m_file(m_options.folder, m_options.stillness)
{
    m_settling.setSingleShot(true);
    m_settling.setTimerType(Qt::PreciseTimer); // which is never early
    m_settling.setInterval(m_options.stillness);
    connect(&m_settling, &QTimer::timeout, this, &ConfigManager::reload);
    {
        const auto locked = lock();
        auto stored = storedNews();
        if (!stored && m_options.makesGroups)
            stored = firstRunGroups();
        m_groups = stored.value_or(QList<AppGroup>());
        giveUsableIds(m_groups);
        if (stored)
            saveGroups(locked->mayWrite()); // no digits are loaded that could be pruned
        runHooks();
        m_groupShortcuts = storedShortcuts();
        removeUnknown(m_groupShortcuts, m_groups);
        if (stored && !m_isUnfinished)
            saveShortcuts();
        if (m_hooks.refreshShortcutParameters)
            m_hooks.refreshShortcutParameters();
    }
    connect(&m_defaults, &UserDefaults::didChange, this, &ConfigManager::followShortcuts);
    if (!m_options.follows)
        return;
    m_watcher = std::make_unique<QFileSystemWatcher>();
    connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, this, &ConfigManager::followGroups);
    connect(m_watcher.get(), &QFileSystemWatcher::fileChanged, this, &ConfigManager::followGroups);
    watch();
}

ConfigManager::~ConfigManager() = default;

std::shared_ptr<FileLock> ConfigManager::lock()
{
    auto held = m_lock.lock();
    if (!held) {
        held = {new FileLock(m_file.path() + QStringLiteral(".lock")), [this](const FileLock *released) {
                    delete released;
                    followShortcuts(); // which waits while a change is under way
                }};
        m_lock = held;
        m_defaults.synchronize();
    }
    return held;
}

bool ConfigManager::changeGroups(const GroupChange &change)
{
    const auto locked = lock();
    const auto stored = storedNews();
    const QList<AppGroup> before = stored.value_or(m_groups);
    QList<AppGroup> groups = before;
    if (stored) {
        for (const GroupChange &unsaved : std::as_const(m_unsaved))
            unsaved(groups);
    }
    change(groups);
    giveUsableIds(groups);
    const bool changed = groups != before;
    if (changed)
        m_unsaved.append(change);
    const bool published = publish(groups);
    if (changed || !m_fileWrite) {
        saveGroups(locked->mayWrite());
        if (!m_isUnfinished)
            pruneShortcuts();
    } else if (m_copyIsOld && locked->mayWrite()) {
        saveCopy(encodeGroups(m_groups));
    }
    if (changed || published)
        runHooks();
    return changed;
}

void ConfigManager::changeShortcuts(const ShortcutChange &change)
{
    const auto locked = lock();
    const QMap<int, QUuid> before = storedShortcuts();
    QMap<int, QUuid> shortcuts = before;
    change(shortcuts);
    publish(shortcuts);
    if (shortcuts != before)
        saveShortcuts();
}

std::optional<QList<AppGroup>> ConfigManager::storedNews()
{
    auto look = m_file.look();
    m_isUnfinished = look.kind == GroupsFile::Look::Unfinished;
    if (look.kind == GroupsFile::Look::Read) {
        m_copyIsOld = true;
        return std::move(look.groups);
    }
    if (!look.damage.isEmpty())
        qCWarning(log, "%ls holds no groups: %ls", qUtf16Printable(m_file.path()), qUtf16Printable(look.damage));
    if (m_isUnfinished && m_options.follows)
        m_settling.start();
    // What the copy lacks is in memory, and perhaps nowhere else.
    const bool isInMemory = look.kind == GroupsFile::Look::Same || m_copyIsOld || !m_unsaved.isEmpty();
    return isInMemory ? std::nullopt : storedCopy();
}

std::optional<QList<AppGroup>> ConfigManager::storedCopy()
{
    m_defaults.synchronize();
    const auto bytes = m_defaults.data(groupsCopyKey);
    if (!bytes)
        return std::nullopt;
    auto copy = decodeGroups(*bytes);
    if (!copy) {
        qCWarning(log, "The copy of the groups in the preferences is of no use: %ls", qUtf16Printable(copy.error()));
        return std::nullopt;
    }
    return std::move(copy).value();
}

QMap<int, QUuid> ConfigManager::storedShortcuts() const
{
    const auto bytes = m_defaults.data(shortcutsKey);
    if (!bytes)
        return {};
    auto shortcuts = decodeShortcuts(*bytes);
    return shortcuts ? std::move(shortcuts).value() : QMap<int, QUuid>();
}

bool ConfigManager::publish(const QList<AppGroup> &groups)
{
    if (groups == m_groups)
        return false;
    m_groups = groups;
    emit groupsChanged();
    return true;
}

void ConfigManager::publish(const QMap<int, QUuid> &shortcuts)
{
    if (shortcuts == m_groupShortcuts)
        return;
    m_groupShortcuts = shortcuts;
    emit groupShortcutsChanged();
}

void ConfigManager::saveGroups(const Status &mayWrite)
{
    const QByteArray json = encodeGroups(m_groups);
    const Status status = mayWrite ? m_file.write(json) : mayWrite;
    if (status)
        m_unsaved.clear();
    else if (m_fileWrite)
        qCWarning(log, "The groups are kept in memory and in the preferences only. %ls",
                  qUtf16Printable(status.error()));
    m_fileWrite = status;
    saveCopy(json);
}

void ConfigManager::saveCopy(const QByteArray &json)
{
    m_copyIsOld = !store(groupsCopyKey, json);
}

void ConfigManager::saveShortcuts()
{
    store(shortcutsKey, encodeShortcuts(m_groupShortcuts));
}

void ConfigManager::pruneShortcuts()
{
    changeShortcuts([this](QMap<int, QUuid> &shortcuts) { removeUnknown(shortcuts, m_groups); });
}

bool ConfigManager::store(const QString &key, const QByteArray &bytes)
{
    if (m_defaults.data(key) == bytes)
        return true;
    const Status status = m_defaults.set(key, bytes);
    if (!status && !m_defaultsFail)
        qCWarning(log, "The preferences do not take the groups. %ls", qUtf16Printable(status.error()));
    m_defaultsFail = !status;
    return bool(status);
}

void ConfigManager::runHooks()
{
    if (m_hooks.dropGroupIcons)
        m_hooks.dropGroupIcons();
    if (m_hooks.refreshShortcutParameters)
        m_hooks.refreshShortcutParameters();
}

void ConfigManager::followGroups()
{
    watch();
    // Without the lock, which a writer holds for a while after the file has changed.
    auto look = m_file.look();
    if (look.kind == GroupsFile::Look::Same)
        return;
    const bool isRead = look.kind == GroupsFile::Look::Read;
    if (!isRead || !m_unsaved.isEmpty() || giveUsableIds(look.groups)) {
        m_file.forget();
        return isRead ? reload() : m_settling.start();
    }
    m_copyIsOld = true;
    m_settling.start();
    if (publish(look.groups)) {
        followShortcuts();
        runHooks();
    }
}

void ConfigManager::reload()
{
    changeGroups([](QList<AppGroup> &) {});
}

/// Digits whose groups are unknown stay stored for now: they may be those of groups that are yet to be read.
void ConfigManager::followShortcuts()
{
    if (!m_lock.expired())
        return;
    auto shortcuts = storedShortcuts();
    removeUnknown(shortcuts, m_groups);
    publish(shortcuts);
}

void ConfigManager::watch()
{
    // A file that was replaced, and a folder that came later, are not watched by themselves.
    if (!m_watcher->directories().contains(m_options.folder) && QDir(m_options.folder).exists())
        m_watcher->addPath(m_options.folder);
    if (!m_watcher->files().contains(m_file.path()) && QFile::exists(m_file.path()))
        m_watcher->addPath(m_file.path());
}

} // namespace cobblet
