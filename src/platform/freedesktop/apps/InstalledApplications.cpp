#undef signals // GIO has members of that name
#include <gio/gdesktopappinfo.h>
#define signals Q_SIGNALS

#include "platform/freedesktop/apps/InstalledApplications.h"

#include "platform/AtomicFile.h"
#include "platform/freedesktop/Releasing.h"
#include "platform/freedesktop/apps/DesktopEntry.h"

#include <QFileInfo>
#include <QMutexLocker>
#include <QStandardPaths>

#include <memory>

namespace cobblet {

namespace {

constexpr qint64 maximumEntryBytes = 1024 * 1024;
constexpr qsizetype maximumCached = 4096;

QString taken(char *text)
{
    const std::unique_ptr<char, Releasing<g_free>> owned(text);
    return QString::fromUtf8(text);
}

/// Why GIO refuses an entry that reads well, in words.
QString refusal(const QString &name, const DesktopEntry &entry)
{
    const QString program = withoutEnvPrefix(entry.exec).value(0);
    for (const QString &needed : {entry.tryExec, program, entry.exec.value(0)})
        if (!needed.isEmpty() && QStandardPaths::findExecutable(needed).isEmpty())
            return QStringLiteral("“%1” cannot be opened: its program “%2” is missing.").arg(name, needed);
    return QStringLiteral("“%1” cannot be opened: its desktop entry does not say how to start it.").arg(name);
}

} // namespace

InstalledApplications::InstalledApplications(ApplicationFolders folders, QObject *parent)
    : QObject(parent), m_folders(std::move(folders))
{
    for (const QString &folder : m_folders.folders())
        m_watch.watchTree(folder);
    connect(&m_watch, &FolderWatch::changed, this, [this] {
        {
            const QMutexLocker lock(&m_mutex);
            m_entries.clear();
            m_index.reset();
            ++m_generation;
        }
        emit changed();
    });
}

Result<InstalledEntry> InstalledApplications::entry(const QString &id) const
{
    quint64 generation = 0;
    {
        const QMutexLocker lock(&m_mutex);
        if (const auto known = m_entries.constFind(id); known != m_entries.cend())
            return *known;
        generation = m_generation;
    }
    Result<InstalledEntry> loaded = load(id);
    const QMutexLocker lock(&m_mutex);
    if (generation == m_generation && id.size() <= 200) {
        if (m_entries.size() >= maximumCached)
            m_entries.clear();
        m_entries.insert(id, loaded);
    }
    return loaded;
}

Result<InstalledEntry> InstalledApplications::load(const QString &id) const
{
    const QString path = m_folders.locate(id);
    if (path.isEmpty())
        return Error{QStringLiteral("“%1” is not installed.").arg(id.left(200))};
    watchLink(path);
    const auto bytes = readBounded(path, maximumEntryBytes);
    if (!bytes)
        return Error{QStringLiteral("The desktop entry of “%1” cannot be read: %2").arg(id, bytes.error())};
    const auto parsed = parseDesktopEntry(bytes.value());
    const std::unique_ptr<GKeyFile, Releasing<g_key_file_free>> keys(g_key_file_new());
    if (!parsed || !parsed->isApplication ||
        !g_key_file_load_from_data(keys.get(), bytes.value().constData(), gsize(bytes.value().size()),
                                   G_KEY_FILE_NONE, nullptr))
        return Error{QStringLiteral("The desktop entry of “%1” is damaged.").arg(id)};
    if (parsed->hidden)
        return Error{QStringLiteral("“%1” is not installed: its desktop entry is marked as deleted.").arg(id)};
    const std::unique_ptr<GDesktopAppInfo, Releasing<g_object_unref>> info(
        g_desktop_app_info_new_from_keyfile(keys.get()));
    if (!info)
        return Error{refusal(parsed->name.isEmpty() ? id : parsed->name, *parsed)};
    InstalledEntry entry;
    // The display name may be a longer, more telling one (X-GNOME-FullName), but under an icon the short one belongs.
    QString name = QString::fromUtf8(g_app_info_get_name(G_APP_INFO(info.get())));
    entry.application = {id, name.isEmpty() ? id : name.left(512), path};
    entry.icon = taken(g_desktop_app_info_get_string(info.get(), "Icon"));
    entry.workingFolder = taken(g_desktop_app_info_get_string(info.get(), "Path"));
    entry.dBusActivatable = g_desktop_app_info_get_boolean(info.get(), "DBusActivatable") != 0;
    entry.terminal = parsed->terminal;
    entry.command = QString::fromUtf8(g_app_info_get_commandline(G_APP_INFO(info.get())));
    entry.startupNotify = g_desktop_app_info_get_boolean(info.get(), "StartupNotify") != 0;
    return entry;
}

std::shared_ptr<const ApplicationIndex> InstalledApplications::index() const
{
    quint64 generation = 0;
    {
        const QMutexLocker lock(&m_mutex);
        if (m_index)
            return m_index;
        generation = m_generation;
    }
    const QStringList desktops = currentDesktops();
    const QMap<QString, QString> all = m_folders.all();
    QList<IndexEntry> entries;
    entries.reserve(all.size());
    for (auto item = all.cbegin(); item != all.cend(); ++item) {
        watchLink(item.value());
        const auto bytes = readBounded(item.value(), maximumEntryBytes);
        auto entry = bytes ? parseDesktopEntry(bytes.value()) : std::nullopt;
        if (!entry || !entry->isApplication || entry->hidden)
            continue;
        const bool visible = !entry->noDisplay && entry->isShownIn(desktops);
        entries.append({item.key(), std::move(*entry), visible});
    }
    auto index = std::make_shared<const ApplicationIndex>(std::move(entries));
    const QMutexLocker lock(&m_mutex);
    if (generation == m_generation)
        m_index = index;
    return index;
}

void InstalledApplications::watchLink(const QString &path) const
{
    if (QFileInfo(path).isSymLink())
        QMetaObject::invokeMethod(
            &m_watch, [this, path] { m_watch.watchLink(path); }, Qt::AutoConnection);
}

QStringList InstalledApplications::currentDesktops()
{
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
}

} // namespace cobblet
