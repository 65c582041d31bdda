#include "platform/freedesktop/apps/DesktopEntryRegistry.h"

#include "platform/AtomicFile.h"
#include "platform/freedesktop/apps/KeyFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobblet {

namespace {

/// The sizes that the theme has folders for.
constexpr int sides[] = {16, 24, 32, 48, 64, 128, 256, 512};
constexpr auto mainGroup = "Desktop Entry";
const QLatin1String suffix(".desktop");

QString inDataFolder(const QString &path)
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u'/' + path;
}

QString entriesFolder()
{
    return inDataFolder(QStringLiteral("applications"));
}

QString entryFile(const QString &identifier)
{
    return entriesFolder() + u'/' + identifier + suffix;
}

QString iconFile(const QString &identifier, int side)
{
    return inDataFolder(QStringLiteral("icons/hicolor/%1x%1/apps/%2.png").arg(side).arg(identifier));
}

/// Only such an identifier becomes a file name.
Status checked(const QString &identifier)
{
    static const QRegularExpression elements(QStringLiteral("\\A[A-Za-z0-9_-]+(\\.[A-Za-z0-9_-]+)+\\z"));
    if (identifier.size() <= 200 && elements.match(identifier).hasMatch())
        return {};
    return Error{QStringLiteral("“%1” can't be the identifier of an application.").arg(identifier.left(200))};
}

bool isAction(const QString &action)
{
    static const QRegularExpression name(QStringLiteral("\\A[A-Za-z0-9-]{1,200}\\z"));
    return name.match(action).hasMatch();
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
        if (image == images.end() ? !QFileInfo(path).isSymLink() && !QFileInfo::exists(path)
                                  : isUnchanged(path, image->png))
            continue;
        // So many flushes would take longer than everything else here, and the bundle is not flushed either.
        const Status done = image == images.end() ? removeFile(path) : replaceAtomically(path, image->png, Flush::No);
        if (!done)
            return Error{done.error()};
        changed = true;
    }
    return changed;
}

/// Caches of the theme are read afresh when they are older than its folder.
void touchTheme()
{
    ::utimensat(AT_FDCWD, QFile::encodeName(inDataFolder(QStringLiteral("icons/hicolor"))).constData(), nullptr, 0);
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

QString shortened(const QString &text)
{
    const qsizetype maximum = DesktopEntryRegistry::maximumText;
    return text.size() > maximum ? text.left(maximum - 1) + QChar(0x2026) : text;
}

/// A command line that runs exactly these arguments.
QString command(const QStringList &arguments)
{
    // GIO looks for the program under its name as it is written, with percent signs doubled, and ignores the entry
    // when there is none.
    QString line = arguments.first().contains(u'%') ? QStringLiteral("/usr/bin/env ") : QString();
    for (const QString &argument : arguments) {
        line += line.isEmpty() || line.endsWith(u' ') ? u"\"" : u" \"";
        for (const QChar c : argument) {
            if (QStringView(u"\"`$\\").contains(c))
                line += u'\\';
            else if (c == u'%')
                line += u'%';
            line += c;
        }
        line += u'"';
    }
    return line;
}

QByteArray entry(const Registration &registration, const DesktopEntryRegistry::IconNames &iconNames)
{
    KeyFile file;
    const auto text = [&](const char *key, const QString &value) { file.setText(mainGroup, key, value); };
    text("Type", QStringLiteral("Application"));
    text("Version", QStringLiteral("1.1"));
    text("Name", shortened(registration.name));
    // Saying the name twice is a fault to the validator.
    if (registration.name.compare(registration.comment, Qt::CaseInsensitive) != 0)
        text("Comment", registration.comment);
    text("TryExec", registration.program);
    text("Exec", command({registration.program}));
    text("Icon", registration.identifier);
    text("StartupWMClass", registration.identifier);
    text("StartupNotify", QStringLiteral("true"));
    text("Terminal", QStringLiteral("false"));
    file.setList(mainGroup, "Categories", {QStringLiteral("Utility")});
    QStringList actions;
    for (const DockMenuItem &item : offered(registration.menu)) {
        const QByteArray group = "Desktop Action " + item.action.toLatin1();
        file.setText(group.constData(), "Name", shortened(item.title));
        file.setText(group.constData(), "Exec",
                     command({registration.program, QStringLiteral("--action"), item.action}));
        if (const QString icon = iconNames ? iconNames(item.bundleID) : QString(); !icon.isEmpty())
            file.setText(group.constData(), "Icon", icon);
        actions.append(item.action);
    }
    if (!actions.isEmpty())
        file.setList(mainGroup, "Actions", actions);
    return file.bytes();
}

} // namespace

Availability DesktopEntryRegistry::availability() const
{
    QString folder = entriesFolder();
    while (!QFileInfo::exists(folder))
        folder = QFileInfo(folder).path();
    if (QFileInfo(folder).isWritable())
        return Availability::works(QStringLiteral("Docks, menus and launchers are told of them."));
    return Availability::unavailable(
        QStringLiteral("The folder “%1” can't be written: allow it, so that groups can become applications.")
            .arg(folder));
}

Status DesktopEntryRegistry::registerBundle(const Registration &registration)
{
    const QString &identifier = registration.identifier;
    const QString &program = registration.program;
    if (const Status usable = checked(identifier); !usable)
        return usable;
    if (!QFileInfo(program).isExecutable())
        return Error{QStringLiteral("The application can't be started: there is no program %1.").arg(program)};
    if (program.contains(u'%') && program.contains(u'=')) // env would take it for a variable
        return Error{
            QStringLiteral("No desktop can start a program in a folder whose name holds both “%” and “=”: ") +
            program};

    const QString file = entryFile(identifier);
    const bool isNew = !QFileInfo::exists(file);
    const QByteArray bytes = entry(registration, m_iconNames);
    const auto icons = putIcons(identifier, registration.icons);
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
    if (const Status usable = checked(identifier); !usable)
        return usable;
    if (const Status removed = removeFile(entryFile(identifier)); !removed)
        return removed;
    const Status removed = removeIcons(identifier);
    touchTheme();
    return removed;
}

QStringList DesktopEntryRegistry::registered(const QString &prefix) const
{
    QStringList identifiers;
    // Also a link that leads nowhere is one, so that it can be removed.
    for (const QString &name : QDir(entriesFolder()).entryList({prefix + u'*' + suffix}, QDir::Files | QDir::System))
        if (const QString identifier = name.chopped(suffix.size()); checked(identifier))
            identifiers.append(identifier);
    return identifiers;
}

} // namespace cobblet
