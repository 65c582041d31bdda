#include "platform/freedesktop/apps/DesktopEntryRegistry.h"

#include "platform/AtomicFile.h"
#include "platform/IconFile.h"
#include "platform/InfoPlist.h"
#include "platform/freedesktop/apps/ApplicationFolders.h"
#include "platform/freedesktop/apps/DesktopEntryWriter.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobblet {

namespace {

constexpr qint64 maximumIconFileBytes = 32 * 1024 * 1024;
/// The sizes that the theme has folders for.
constexpr std::array sides{16, 32, 64, 128, 256, 512};
const QLatin1String suffix(".desktop");

QString entriesFolder()
{
    return xdgDataFolders().first() + QStringLiteral("/applications");
}

QString themeFolder()
{
    return xdgDataFolders().first() + QStringLiteral("/icons/hicolor");
}

QString entryFile(const QString &identifier)
{
    return entriesFolder() + u'/' + identifier + suffix;
}

QString iconFile(const QString &identifier, int side)
{
    return QStringLiteral("%1/%2x%2/apps/%3.png").arg(themeFolder()).arg(side).arg(identifier);
}

const QLatin1String agentPrefix("com.cobblet.agent.");

/// Whether it is an agent's; only such a one becomes a file name.
bool isAgent(const QString &identifier)
{
    static const QRegularExpression uuid(QStringLiteral("\\A[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\z"));
    return identifier.startsWith(agentPrefix) && uuid.match(identifier.mid(agentPrefix.size())).hasMatch();
}

bool isAction(const QString &action)
{
    static const QRegularExpression name(QStringLiteral("\\A[A-Za-z0-9-]{1,200}\\z"));
    return name.match(action).hasMatch();
}

Error notAnAgent(const QString &identifier)
{
    return {QStringLiteral("“%1” is not the identifier of a group's application.").arg(identifier.left(200))};
}

/// One that is not there is removed already; so is the temporary file of a process that was killed.
Status removeFile(const QString &path)
{
    for (const QString &each : {path, path + QStringLiteral(".tmp")})
        if (::unlink(QFile::encodeName(each).constData()) != 0 && errno != ENOENT && errno != ENOTDIR)
            return Error{
                QStringLiteral("Can't remove %1: %2.").arg(each, QString::fromLocal8Bit(std::strerror(errno)))};
    return {};
}

bool isUnchanged(const QString &path, const QByteArray &bytes)
{
    if (QFileInfo(path).isSymLink())
        return false;
    const auto present = readBounded(path, bytes.size());
    return present && present.value() == bytes;
}

Status removeIcons(const QString &identifier)
{
    Status status;
    for (const int side : sides)
        if (const Status removed = removeFile(iconFile(identifier, side)); !removed)
            status = removed;
    return status;
}

/// Whether any of them had to be written or removed.
Result<bool> putIcons(const QString &identifier, const QList<IconFileImage> &images)
{
    bool changed = false;
    for (const int side : sides) {
        const QString path = iconFile(identifier, side);
        const auto image =
            std::find_if(images.begin(), images.end(), [&](const auto &each) { return each.side == side; });
        if (image != images.end()) {
            if (isUnchanged(path, image->png))
                continue;
            // Six flushes would take as long as everything else here, and the bundle is not flushed either.
            if (const Status written = replaceAtomically(path, image->png, Flush::No); !written)
                return Error{written.error()};
            changed = true;
        } else if (QFileInfo(path).isSymLink() || QFileInfo::exists(path)) {
            if (const Status removed = removeFile(path); !removed)
                return Error{removed.error()};
            changed = true;
        }
    }
    return changed;
}

/// Caches of the theme are read afresh when they are older than its folder.
void touchTheme()
{
    ::utimensat(AT_FDCWD, QFile::encodeName(themeFolder()).constData(), nullptr, 0);
}

/// The entries that have an action and a text, each action once, and no more than docks have room for.
QList<DockMenuItem> offered(const QList<DockMenuItem> &menu)
{
    QList<DockMenuItem> items;
    QSet<QString> seen;
    for (DockMenuItem item : menu) {
        if (item.title.trimmed().isEmpty())
            item.title = item.bundleID;
        if (!isAction(item.action) || item.title.trimmed().isEmpty() || seen.contains(item.action))
            continue;
        seen.insert(item.action);
        items.append(item);
    }
    if (const qsizetype excess = items.size() - DesktopEntryRegistry::maximumActions; excess > 0)
        items.remove(items.size() - DesktopEntryRegistry::lastActions - excess, excess);
    return items;
}

QByteArray entry(const QString &identifier, const QString &name, const QString &program,
                 const QList<DockMenuItem> &items)
{
    DesktopEntryWriter entry;
    entry.group("Desktop Entry");
    entry.text("Type", QStringLiteral("Application"));
    entry.text("Version", QStringLiteral("1.1"));
    entry.text("Name", name);
    if (const QString comment = QStringLiteral("Opens this group of applications");
        name.compare(comment, Qt::CaseInsensitive) != 0) // saying it twice is a fault to the validator
        entry.text("Comment", comment);
    entry.text("TryExec", program);
    entry.command("Exec", {program});
    entry.text("Icon", identifier);
    entry.text("StartupWMClass", identifier);
    entry.text("StartupNotify", QStringLiteral("true"));
    entry.text("Terminal", QStringLiteral("false"));
    entry.list("Categories", {QStringLiteral("Utility")});
    QStringList actions;
    for (const DockMenuItem &item : items)
        actions.append(item.action);
    if (!actions.isEmpty())
        entry.list("Actions", actions);
    for (const DockMenuItem &item : items) {
        entry.group("Desktop Action " + item.action.toLatin1());
        entry.text("Name", item.title);
        entry.command("Exec", {program, QStringLiteral("--action"), item.action});
    }
    return entry.bytes();
}

Result<QList<IconFileImage>> iconOf(const QString &bundle, const InfoPlist &stated)
{
    QString name = stated.text("CFBundleIconFile");
    if (name.isEmpty() || name.contains(u'/'))
        return Error{QStringLiteral("The application %1 states no icon file.").arg(bundle)};
    if (!name.endsWith(QLatin1String(".icns")))
        name += QStringLiteral(".icns");
    const auto file = readBounded(bundle + QStringLiteral("/Contents/Resources/") + name, maximumIconFileBytes);
    if (!file)
        return Error{file.error()};
    return decodeIconFile(file.value());
}

} // namespace

Status DesktopEntryRegistry::registerBundle(const QString &path, const QList<DockMenuItem> &menu)
{
    const QString bundle = QDir::cleanPath(QDir().absoluteFilePath(path));
    const auto stated = InfoPlist::read(bundle);
    if (!stated)
        return Error{stated.error()};
    if (!stated.value())
        return Error{QStringLiteral("The file Contents/Info.plist of %1 is damaged.").arg(bundle)};
    const QString identifier = stated.value()->text("CFBundleIdentifier");
    if (!isAgent(identifier))
        return notAnAgent(identifier);
    QString name = stated.value()->text("CFBundleDisplayName");
    if (name.trimmed().isEmpty())
        name = QFileInfo(bundle).completeBaseName();
    const QString program = bundle + QStringLiteral("/Contents/Helpers/cobblet");
    if (!QFileInfo(program).isExecutable())
        return Error{QStringLiteral("The application can't be started: there is no program %1.").arg(program)};
    if (!DesktopEntryWriter::canRun(program))
        return Error{
            QStringLiteral("No desktop can start a program in a folder whose name holds both “%” and “=”: ") +
            program};
    const auto images = iconOf(bundle, *stated.value());
    if (!images)
        return Error{images.error()};

    const QString file = entryFile(identifier);
    const bool isNew = !QFileInfo::exists(file);
    const QByteArray bytes = entry(identifier, name, program, offered(menu));
    const auto icons = putIcons(identifier, images.value());
    Status status = icons ? Status() : Status(Error{icons.error()});
    // Docks look at the icon again when its entry is a new file.
    if (status && (icons.value() || !isUnchanged(file, bytes)))
        status = replaceAtomically(file, bytes);
    if (!status && isNew)
        (void)removeIcons(identifier); // nothing refers to them
    touchTheme();
    return status;
}

Status DesktopEntryRegistry::unregisterBundle(const QString &identifier)
{
    if (!isAgent(identifier))
        return notAnAgent(identifier);
    if (const Status removed = removeFile(entryFile(identifier)); !removed)
        return removed;
    const Status removed = removeIcons(identifier);
    touchTheme();
    return removed;
}

QStringList DesktopEntryRegistry::registeredAgents() const
{
    QStringList agents;
    // Also a link that leads nowhere is one, so that it can be removed.
    QDirIterator entries(entriesFolder(), {agentPrefix + QStringLiteral("*.desktop")},
                         QDir::Files | QDir::System | QDir::Hidden);
    while (entries.hasNext()) {
        entries.next();
        if (const QString identifier = entries.fileName().chopped(suffix.size()); isAgent(identifier))
            agents.append(identifier);
    }
    agents.sort();
    return agents;
}

} // namespace cobblet
