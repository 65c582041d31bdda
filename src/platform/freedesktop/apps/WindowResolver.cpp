#include "platform/freedesktop/apps/WindowResolver.h"

#include <algorithm>

namespace cobblet {

namespace {

QString baseName(const QString &path)
{
    return path.mid(path.lastIndexOf(u'/') + 1);
}

/// The file that runs, less the mark of one that was replaced by an upgrade meanwhile.
QString executableOf(const ProcessIdentity &process)
{
    QString path = process.executable;
    if (path.endsWith(u" (deleted)"))
        path.chop(10);
    return path;
}

/// Whether the process itself runs the entry's program. Marks that children inherit (control groups, the
/// environment) say nothing about a program that was started in a terminal.
bool runsProgramOf(const ProcessIdentity &process, const IndexEntry &entry)
{
    const QString program = programOf(entry.entry.exec);
    return program == programOf(process.arguments) || program == baseName(executableOf(process));
}

QString unlessChildOfTerminal(const IndexEntry *entry, const ProcessIdentity &process)
{
    if (!entry || (entry->isTerminalEmulator() && !runsProgramOf(process, *entry)))
        return {};
    return entry->id;
}

/// Undoes the \xNN escapes of systemd unit names.
QString unescapedUnit(const QString &escaped)
{
    QByteArray out;
    const QByteArray raw = escaped.toUtf8();
    for (qsizetype i = 0; i < raw.size(); ++i) {
        bool ok = false;
        if (raw.at(i) == '\\' && i + 3 < raw.size() && raw.at(i + 1) == 'x')
            if (const int code = raw.mid(i + 2, 2).toInt(&ok, 16); ok) {
                out.append(char(code));
                i += 3;
                continue;
            }
        out.append(raw.at(i));
    }
    return QString::fromUtf8(out);
}

/// The identifiers that a unit may be named after, the likeliest first: "app-LAUNCHER-ID-N.scope",
/// "app-ID-N.scope", "app-LAUNCHER-ID@N.service", "dbus-:1.2-ID@N.service", "snap.NAME.APP-UUID.scope".
QStringList idsInUnit(const QString &unit)
{
    QString stem;
    if (unit.endsWith(u".scope"))
        stem = unit.chopped(6);
    else if (unit.endsWith(u".service"))
        stem = unit.chopped(8);
    else
        return {};
    const QString raw = stem;
    if (const qsizetype at = stem.indexOf(u'@'); at >= 0)
        stem.truncate(at);
    if (stem.startsWith(u"snap.")) {
        const QString application = stem.section(u'.', 2).section(u'-', 0, 0).section(u'.', 0, 0);
        return {stem.section(u'.', 1, 1) + u'_' + application};
    }
    QStringList parts = stem.split(u'-');
    if (parts.first() != u"app" && parts.first() != u"dbus")
        return {};
    parts.removeFirst();
    const bool numbered = unit.endsWith(u".scope") && raw == stem && parts.size() > 1;
    if (numbered)
        parts.removeLast();
    QStringList ids;
    // Launchers that do not escape dashes leave more parts than there should be: every tail may be the id.
    for (qsizetype first = std::min<qsizetype>(1, parts.size() - 1); first < parts.size() && first < 4; ++first)
        ids.append(unescapedUnit(parts.mid(first).join(u'-')));
    ids.append(unescapedUnit(parts.join(u'-')));
    return ids;
}

/// How many of the entry's own arguments the process was started with, or -1 when one is missing: what
/// distinguishes entries that run the same program.
int sharedArguments(const QStringList &entry, const QStringList &process)
{
    for (const QString &argument : entry)
        if (!process.contains(argument))
            return -1;
    return int(std::min<qsizetype>(entry.size(), 1000));
}

// The steps. Each gives an installed application's identifier or an empty text.

QString fromStatedId(const WindowIdentity &window, const ApplicationIndex &index)
{
    for (const QString &stated : {window.gtkApplicationId, window.kdeDesktopFile})
        if (const QString id = entryIdFromFileName(stated); !id.isEmpty())
            if (const IndexEntry *entry = index.byId(id))
                return entry->id;
    return {};
}

QString fromWindowClass(const WindowIdentity &window, const ApplicationIndex &index)
{
    // The instance comes first: programs in another program's process (web applications) share the class.
    const QStringList marks{window.wmInstance, window.wmClass};
    const auto byClass = [&](Qt::CaseSensitivity sensitivity) {
        for (const QString &mark : marks)
            if (const IndexEntry *entry = index.byStartupClass(mark, sensitivity))
                return entry->id;
        return QString();
    };
    if (const QString id = byClass(Qt::CaseSensitive); !id.isEmpty())
        return id;
    for (const QString &mark : marks) {
        if (mark.isEmpty())
            continue;
        QString dashed = mark;
        dashed.replace(u' ', u'-');
        for (const QString &id : {mark, dashed})
            if (const IndexEntry *entry = index.byId(id))
                return entry->id;
    }
    // Case is often wrong, but what is right to the letter goes before.
    if (const QString id = byClass(Qt::CaseInsensitive); !id.isEmpty())
        return id;
    for (const QString &mark : marks)
        if (const IndexEntry *entry = mark.isEmpty() ? nullptr : index.byLastComponent(mark))
            return entry->id;
    return {};
}

QString fromControlGroup(const ProcessIdentity &process, const ApplicationIndex &index)
{
    // The innermost unit that names an application: a terminal's tabs have scopes of their own inside.
    const QStringList units = process.controlGroup.split(u'/', Qt::SkipEmptyParts);
    for (auto unit = units.crbegin(); unit != units.crend(); ++unit)
        for (const QString &id : idsInUnit(*unit))
            if (const IndexEntry *entry = index.byId(id))
                return unlessChildOfTerminal(entry, process);
    return {};
}

QString fromLaunchEnvironment(const ProcessIdentity &process, const ApplicationIndex &index)
{
    const auto value = [&](const char *name) { return process.environment.value(name); };
    const QString executable = executableOf(process);

    // Children inherit the variable, so it counts only together with the process it was set for.
    if (value("GIO_LAUNCHED_DESKTOP_FILE_PID").toLongLong() == process.pid && process.pid > 0)
        if (const IndexEntry *entry = index.byId(entryIdFromFileName(value("GIO_LAUNCHED_DESKTOP_FILE"))))
            return entry->id;

    const QString flatpak = process.flatpak.isEmpty() ? value("FLATPAK_ID") : process.flatpak;
    if (!flatpak.isEmpty() && (!process.flatpak.isEmpty() || executable.startsWith(u"/app/"))) {
        if (const IndexEntry *entry = index.byId(flatpak))
            return entry->id;
        for (const IndexEntry &entry : index.entries())
            if (entry.entry.flatpak == flatpak)
                return entry.id;
    }

    QString snap = value("SNAP_INSTANCE_NAME");
    if (snap.isEmpty())
        snap = value("SNAP_NAME");
    if (!snap.isEmpty() && executable.startsWith(QStringLiteral("/snap/%1/").arg(snap))) {
        QList<const IndexEntry *> ofSnap;
        for (const IndexEntry &entry : index.entries())
            if (entry.entry.snapInstance == snap || entry.id.startsWith(snap + u'_'))
                ofSnap.append(&entry);
        const QString program = baseName(executable);
        for (const IndexEntry *entry : ofSnap)
            if (entry->id == snap + u'_' + program)
                return entry->id;
        if (ofSnap.size() == 1)
            return ofSnap.first()->id;
        if (const IndexEntry *entry = index.byId(snap + u'_' + snap))
            return entry->id;
    }

    const QString image = value("APPIMAGE");
    const QString mounted = value("APPDIR");
    if (!image.isEmpty() && !mounted.isEmpty() && executable.startsWith(mounted + u'/'))
        for (const IndexEntry *entry : index.byProgram(baseName(image)))
            if (const QString program = programIn(entry->entry.exec).path;
                !program.contains(u'/') || program == image)
                return entry->id;
    return {};
}

QString fromExecutable(const ProcessIdentity &process, const ApplicationIndex &index)
{
    const Program started = programIn(process.arguments);
    const QString executable = executableOf(process);
    // The program as it was started tells more than the file that runs: an interpreter runs many programs.
    for (const QString &path : {started.path, executable}) {
        const IndexEntry *best = nullptr;
        int bestShared = -1;
        bool tied = false;
        for (const IndexEntry *entry : index.byProgram(baseName(path))) {
            const Program program = programIn(entry->entry.exec);
            const bool elsewhere = program.path.startsWith(u'/') && path.startsWith(u'/') && program.path != path &&
                                   program.path != executable;
            const int shared = sharedArguments(program.arguments, process.arguments);
            if (elsewhere || shared < 0)
                continue;
            const auto rank = [&](const IndexEntry &item, int common) {
                return common * 4 + (item.visible ? 2 : 0) + (item.id == baseName(path) ? 1 : 0);
            };
            const int value = rank(*entry, shared);
            tied = best && value == bestShared;
            if (!best || value > bestShared) {
                best = entry;
                bestShared = value;
            }
        }
        if (best && !tied)
            return best->id;
        if (path != executable && programOf(process.arguments) != baseName(executable) &&
            baseName(path) != baseName(process.arguments.value(0)))
            break; // a script: the interpreter that runs it is not the application
    }
    return {};
}

} // namespace

const QByteArrayList &resolverEnvironment()
{
    static const QByteArrayList names =
        QByteArray("GIO_LAUNCHED_DESKTOP_FILE GIO_LAUNCHED_DESKTOP_FILE_PID FLATPAK_ID SNAP_INSTANCE_NAME SNAP_NAME "
                   "APPIMAGE APPDIR")
            .split(' ');
    return names;
}

Resolution resolveWindow(const WindowIdentity &window, const ApplicationIndex &index)
{
    if (const QString id = fromStatedId(window, index); !id.isEmpty())
        return {id, QLatin1String("stated id")};
    if (const QString id = fromWindowClass(window, index); !id.isEmpty())
        return {id, QLatin1String("window class")};
    return {};
}

Resolution resolveProcess(const ProcessIdentity &process, const ApplicationIndex &index)
{
    if (const QString id = fromControlGroup(process, index); !id.isEmpty())
        return {id, QLatin1String("control group")};
    if (const QString id = fromLaunchEnvironment(process, index); !id.isEmpty())
        return {id, QLatin1String("launch environment")};
    if (const QString id = fromExecutable(process, index); !id.isEmpty())
        return {id, QLatin1String("executable")};
    return {};
}

QString markOf(const WindowIdentity &window, const ProcessIdentity &process)
{
    if (!window.wmInstance.isEmpty() || !window.wmClass.isEmpty())
        return QStringLiteral("class %1, %2").arg(window.wmInstance, window.wmClass);
    const QString started = programIn(process.arguments).path;
    const QString program = started.isEmpty() ? executableOf(process) : started;
    return program.isEmpty() ? QString() : QStringLiteral("program ") + program;
}

Resolution resolveCorrection(const QString &mark, const Corrections &corrections, const ApplicationIndex &index)
{
    const QString corrected = mark.isEmpty() ? QString() : corrections.value(mark);
    const IndexEntry *entry = corrected.isEmpty() ? nullptr : index.byId(corrected);
    return entry ? Resolution{entry->id, QLatin1String("correction")} : Resolution();
}

Resolution resolveApplication(const WindowIdentity &window, const ProcessIdentity &process,
                              const ApplicationIndex &index, const Corrections &corrections)
{
    Resolution resolution = resolveCorrection(markOf(window, process), corrections, index);
    if (resolution.id.isEmpty())
        resolution = resolveWindow(window, index);
    return resolution.id.isEmpty() ? resolveProcess(process, index) : resolution;
}

QString reasonOf(const Resolution &resolution)
{
    static const QHash<QLatin1String, QString> reasons{
        {QLatin1String("correction"), QStringLiteral("You said so.")},
        {QLatin1String("stated id"), QStringLiteral("The window names its application.")},
        {QLatin1String("window class"), QStringLiteral("The window has the application's class.")},
        {QLatin1String("control group"), QStringLiteral("It runs in the application's scope.")},
        {QLatin1String("launch environment"), QStringLiteral("Its environment tells what was launched.")},
        {QLatin1String("executable"), QStringLiteral("It runs the application's program.")},
        {QLatin1String("bus name"), QStringLiteral("It has the application's name on the session bus.")}};
    return reasons.value(resolution.by, QStringLiteral("No rule recognises it."));
}

} // namespace cobblet
