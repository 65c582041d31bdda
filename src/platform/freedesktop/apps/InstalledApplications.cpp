#undef signals // GIO has members of that name
#include <gio/gdesktopappinfo.h>
#define signals Q_SIGNALS

#include "platform/freedesktop/apps/InstalledApplications.h"

#include "platform/AtomicFile.h"
#include "platform/freedesktop/apps/DesktopEntry.h"
#include "platform/freedesktop/apps/KeyFile.h"

#include <QAbstractEventDispatcher>
#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QMutexLocker>
#include <QStandardPaths>

namespace cobblet {

namespace {

constexpr qint64 maximumEntryBytes = 1024 * 1024;
constexpr qsizetype maximumEntries = 20000;
constexpr qsizetype maximumCached = 4096;
constexpr qsizetype maximumName = 512;
constexpr qsizetype maximumId = 200;
constexpr qsizetype maximumCategories = 32;
constexpr int quietMilliseconds = 150;
constexpr int followMilliseconds = 1000; ///< after the first panel
constexpr auto group = "Desktop Entry";
const QLatin1String suffix(".desktop");

/// The main group less its translations.
QByteArray withoutTranslations(const QByteArray &bytes)
{
    QByteArray kept;
    for (qsizetype start = 0, end = 0; start < bytes.size(); start = end + 1) {
        end = bytes.indexOf('\n', start);
        if (end < 0)
            end = bytes.size();
        const QByteArrayView line = QByteArrayView(bytes).sliced(start, end - start);
        if (line.startsWith('[') && kept.contains("[Desktop Entry]"))
            break;
        if (line.startsWith('[') || !line.first(std::max<qsizetype>(line.indexOf('='), 0)).contains('['))
            kept.append(line).append('\n');
    }
    return kept;
}

template<class T>
using Owned = std::unique_ptr<T, Releasing<g_object_unref>>;

/// Why GIO refuses an entry that reads well, in words.
Error refusal(const QString &id, const KeyFile &keys)
{
    QString name = keys.text(group, "Name");
    if (name.isEmpty())
        name = id;
    const QStringList exec = expandExec(keys.text(group, "Exec"));
    for (const QString &needed : {keys.text(group, "TryExec"), withoutEnvPrefix(exec).value(0), exec.value(0)})
        if (!needed.isEmpty() && QStandardPaths::findExecutable(needed).isEmpty())
            return {QStringLiteral("“%1” cannot be opened: its program “%2” is missing.").arg(name, needed)};
    return {QStringLiteral("“%1” cannot be opened: its desktop entry does not say how to start it.").arg(name)};
}

/// Reads an entry that is there and not marked as deleted. With `Part::Untranslated` only what tells applications
/// apart is kept, which takes a tenth of the time.
enum class Part { All, Untranslated };
Result<KeyFile> read(const QString &id, const QString &path, Part part)
{
    if (path.isEmpty())
        return Error{QStringLiteral("“%1” is not installed.").arg(id.left(maximumId))};
    const auto bytes = readBounded(path, maximumEntryBytes);
    if (!bytes)
        return Error{QStringLiteral("The desktop entry of “%1” cannot be read: %2").arg(id, bytes.error())};
    auto keys = KeyFile::parse(part == Part::All ? bytes.value() : withoutTranslations(bytes.value()));
    if (!keys || keys->text(group, "Type") != u"Application")
        return Error{QStringLiteral("The desktop entry of “%1” is damaged.").arg(id)};
    if (keys->flag(group, "Hidden"))
        return Error{QStringLiteral("“%1” is not installed: its desktop entry is marked as deleted.").arg(id)};
    return std::move(*keys);
}

/// Whether this desktop's menus show it.
bool isShown(const KeyFile &keys)
{
    const auto list = [&](const char *key) { return keys.text(group, key).split(u';', Qt::SkipEmptyParts); };
    const QStringList only = list("OnlyShowIn");
    const QStringList never = list("NotShowIn");
    if (keys.flag(group, "NoDisplay"))
        return false;
    for (const QString &desktop : qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts))
        if (only.contains(desktop) || never.contains(desktop))
            return only.contains(desktop);
    return only.isEmpty();
}

Result<InstalledEntry> entryOf(const QString &id, const QString &path, const KeyFile &keys)
{
    const Owned<GDesktopAppInfo> info(g_desktop_app_info_new_from_keyfile(keys.get()));
    if (!info)
        return refusal(id, keys);
    // The display name may be a longer, more telling one (X-GNOME-FullName), but under an icon the short one belongs.
    const QString name = QString::fromUtf8(g_app_info_get_name(G_APP_INFO(info.get())));
    const QStringList categories = keys.text(group, "Categories").split(u';', Qt::SkipEmptyParts);
    return InstalledEntry{{id, name.isEmpty() ? id : name.left(maximumName), path,
                           categories.first(std::min(categories.size(), maximumCategories))},
                          keys.text(group, "Icon"),
                          keys.text(group, "Path"),
                          keys.text(group, "Exec"),
                          keys.flag(group, "DBusActivatable"),
                          keys.flag(group, "Terminal"),
                          keys.flag(group, "StartupNotify")};
}

Result<InstalledEntry> loaded(const QString &id, const QString &path)
{
    const auto keys = read(id, path, Part::All);
    return keys ? entryOf(id, path, keys.value()) : Error{keys.error()};
}

/// GIO watches the folders from a look-up until the first change.
void watchFolders()
{
    (void)InstalledApplications::defaultFor("x-scheme-handler/mailto");
}

} // namespace

InstalledApplications::InstalledApplications()
{
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(quietMilliseconds);
    connect(&m_quiet, &QTimer::timeout, this, &InstalledApplications::lookAgain);
    QTimer::singleShot(followMilliseconds, this, &InstalledApplications::follow);
}

InstalledApplications::~InstalledApplications()
{
    if (m_monitor)
        g_signal_handlers_disconnect_by_data(m_monitor.get(), this);
}

void InstalledApplications::follow()
{
    m_monitor.reset(g_app_info_monitor_get(), g_object_unref);
    // Not restarted: a folder that never comes to rest must not hide a change for ever.
    const auto heard = [](GAppInfoMonitor *, gpointer self) {
        if (QTimer &quiet = static_cast<InstalledApplications *>(self)->m_quiet; !quiet.isActive())
            quiet.start();
    };
    g_signal_connect(m_monitor.get(), "changed", G_CALLBACK(+heard), this);
    lookAgain();
}

void InstalledApplications::lookAgain()
{
    watchFolders();
    Files files = listed();
    const size_t now = stampOf(files);
    {
        const QMutexLocker lock(&m_mutex);
        if (std::exchange(m_stamp, now) == now)
            return; // another program's preferences, in one of the folders
        m_files = std::move(files);
        m_entries.clear();
        m_index.reset();
        ++m_generation;
    }
    emit changed();
}

bool InstalledApplications::followsChanges()
{
    const auto *dispatcher = QAbstractEventDispatcher::instance();
    return dispatcher && dispatcher->inherits("QEventDispatcherGlib");
}

QStringList InstalledApplications::folders()
{
    return QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
}

InstalledApplications::Files InstalledApplications::listed()
{
    Files files;
    for (const QString &folder : folders()) {
        QDirIterator walk(folder, {u'*' + suffix}, QDir::Files, QDirIterator::Subdirectories);
        while (walk.hasNext() && files.size() < maximumEntries) {
            const QString path = walk.next();
            QString id = path.mid(folder.size() + 1).chopped(suffix.size()).replace(u'/', u'-');
            if (!files.contains(id))
                files.insert(std::move(id), path);
        }
    }
    return files;
}

InstalledApplications::Files InstalledApplications::files() const
{
    const QMutexLocker lock(&m_mutex);
    if (m_files.isEmpty()) {
        m_files = listed();
        m_stamp = stampOf(m_files);
    }
    return m_files;
}

/// Of when each file was last written, and its size: the entries and the lists of default applications.
size_t InstalledApplications::stampOf(const Files &files)
{
    size_t stamp = 0;
    const auto add = [&](const QFileInfo &info) {
        stamp = qHashMulti(stamp, info.filePath(), info.lastModified().toMSecsSinceEpoch(), info.size());
    };
    for (const QString &path : files)
        add(QFileInfo(path));
    for (const QString &folder : folders() + QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation))
        for (const QFileInfo &info : QDir(folder).entryInfoList(
                 {QStringLiteral("*mimeapps.list"), QStringLiteral("mimeinfo.cache")}, QDir::Files))
            add(info);
    return stamp;
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
    QString path = files().value(id);
    // Word of a new file comes a moment after the file, and who has just made one opens it at once.
    if (path.isEmpty() && id.size() <= maximumId && !id.contains(u'/'))
        path = QStandardPaths::locate(QStandardPaths::ApplicationsLocation, id + suffix);
    Result<InstalledEntry> result = loaded(id, path);
    const QMutexLocker lock(&m_mutex);
    if (generation == m_generation && !path.isEmpty()) {
        if (m_entries.size() >= maximumCached)
            m_entries.clear();
        m_entries.insert(id, result);
    }
    return result;
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
    const Files all = files();
    QList<IndexEntry> entries;
    entries.reserve(all.size());
    for (auto file = all.cbegin(); file != all.cend(); ++file)
        if (const auto keys = read(file.key(), file.value(), Part::Untranslated))
            entries.append({file.key(), DesktopEntry(keys.value()), isShown(keys.value())});
    auto index = std::make_shared<const ApplicationIndex>(std::move(entries));
    const QMutexLocker lock(&m_mutex);
    if (generation == m_generation)
        m_index = index;
    return index;
}

QList<InstalledApplication> InstalledApplications::shown() const
{
    QList<InstalledApplication> applications;
    const Files all = files();
    for (auto file = all.cbegin(); file != all.cend(); ++file)
        if (const auto keys = read(file.key(), file.value(), Part::All); keys && isShown(keys.value()))
            if (const auto entry = entryOf(file.key(), file.value(), keys.value()))
                applications.append(entry.value().application);
    return applications;
}

QString InstalledApplications::defaultFor(const QByteArray &type)
{
    const auto idIn = [](gpointer info) {
        return entryIdFromFileName(QString::fromUtf8(g_app_info_get_id(G_APP_INFO(info))));
    };
    QStringList suitable;
    GList *const all = g_app_info_get_recommended_for_type(type.constData());
    for (const GList *each = all; each; each = each->next)
        suitable.append(idIn(each->data));
    g_list_free_full(all, g_object_unref);
    const Owned<GAppInfo> chosen(g_app_info_get_default_for_type(type.constData(), FALSE));
    const QString id = chosen ? idIn(chosen.get()) : QString();
    // Where nothing opens calendars, GIO falls back to what opens any text.
    const bool meant = type.startsWith("x-scheme-handler/") || suitable.contains(id);
    return meant && !id.isEmpty() ? id : suitable.value(0);
}

QString InstalledApplications::idOf(const QString &path)
{
    if (path.endsWith(suffix))
        for (const QString &folder : folders())
            if (path.startsWith(folder + u'/'))
                return path.mid(folder.size() + 1).chopped(suffix.size()).replace(u'/', u'-');
    return {};
}

} // namespace cobblet
