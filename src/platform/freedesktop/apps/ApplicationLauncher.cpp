#undef signals // GIO has members of that name
#include <gio/gdesktopappinfo.h>
#define signals Q_SIGNALS

#include "platform/freedesktop/apps/ApplicationLauncher.h"

#include "platform/AtomicFile.h"
#include "platform/freedesktop/apps/DesktopBus.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <algorithm>
#include <csignal>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcLaunch, "cobblet.applications.launch")

namespace {

template<auto Free>
struct Releasing {
    template<class T>
    void operator()(T *object) const { Free(object); }
};
using AppInfo = std::unique_ptr<GDesktopAppInfo, Releasing<g_object_unref>>;
using KeyFile = std::unique_ptr<GKeyFile, Releasing<g_key_file_free>>;

/// Runs in the child between fork and exec: only calls that are safe there.
void prepareChild(gpointer homeFolder)
{
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    if (homeFolder && chdir(static_cast<const char *>(homeFolder)) != 0)
        return; // it stays where this process is
}

void takePid(GDesktopAppInfo *, GPid pid, gpointer target)
{
    *static_cast<qint64 *>(target) = pid;
}

/// The environment that this process was started with; later changes of our own are not in it.
QByteArrayList initialEnvironment()
{
    QFile file(QStringLiteral("/proc/self/environ"));
    QByteArrayList variables;
    if (file.open(QIODevice::ReadOnly))
        variables = file.readAll().split('\0');
    if (variables.size() <= 1)
        for (char **variable = environ; variable && *variable; ++variable)
            variables.append(*variable);
    variables.removeAll(QByteArray());
    return variables;
}

/// A launch context whose environment is exactly this one.
std::unique_ptr<GAppLaunchContext, Releasing<g_object_unref>> contextWith(const QByteArrayList &variables)
{
    std::unique_ptr<GAppLaunchContext, Releasing<g_object_unref>> context(g_app_launch_context_new());
    const std::unique_ptr<char *, Releasing<g_strfreev>> present(g_get_environ());
    for (char **variable = present.get(); *variable; ++variable) {
        const QByteArray name = QByteArray(*variable).split('=').first();
        if (!name.isEmpty())
            g_app_launch_context_unsetenv(context.get(), name.constData());
    }
    for (const QByteArray &variable : variables) {
        const qsizetype equals = variable.indexOf('=');
        if (equals > 0)
            g_app_launch_context_setenv(context.get(), variable.left(equals).constData(), variable.mid(equals + 1).constData());
    }
    return context;
}

/// Output of ours that goes to a file or the journal is a place for the application's output too; a pipe or a
/// terminal may be gone long before the application is.
int outputFor(int descriptor, int nowhere)
{
    struct stat status {};
    const bool lasting = fstat(descriptor, &status) == 0 && (S_ISREG(status.st_mode) || S_ISSOCK(status.st_mode));
    return lasting ? descriptor : nowhere;
}

QString quotedForExec(const QString &argument)
{
    QString out = QStringLiteral("\"");
    for (const QChar c : argument) {
        if (c == u'"' || c == u'\\' || c == u'$' || c == u'`')
            out += u'\\';
        if (c == u'%')
            out += u'%';
        out += c;
    }
    return out + u'"';
}

/// The entry as GIO launches it; one that wants a terminal is given the command that runs it in one.
Result<AppInfo> loadForLaunch(const InstalledEntry &entry)
{
    const QString &name = entry.application.name;
    AppInfo direct(g_desktop_app_info_new_from_filename(QFile::encodeName(entry.application.path).constData()));
    if (!direct)
        return Error{QStringLiteral("“%1” cannot be opened: its program is missing.").arg(name)};
    if (!entry.terminal)
        return direct;
    const QStringList terminal = terminalCommand();
    if (terminal.isEmpty())
        return Error{QStringLiteral("“%1” cannot be opened: it needs a terminal, and no terminal emulator is installed.")
                         .arg(name)};
    const KeyFile keys(g_key_file_new());
    if (!g_key_file_load_from_file(keys.get(), QFile::encodeName(entry.application.path).constData(), G_KEY_FILE_NONE,
                                   nullptr))
        return Error{QStringLiteral("“%1” cannot be opened: its desktop entry is damaged.").arg(name)};
    QString command;
    for (const QString &argument : terminal)
        command += quotedForExec(argument) + u' ';
    command += QString::fromUtf8(g_app_info_get_commandline(G_APP_INFO(direct.get())));
    g_key_file_set_string(keys.get(), G_KEY_FILE_DESKTOP_GROUP, "Exec", command.toUtf8().constData());
    g_key_file_set_boolean(keys.get(), G_KEY_FILE_DESKTOP_GROUP, "Terminal", FALSE);
    AppInfo inTerminal(g_desktop_app_info_new_from_keyfile(keys.get()));
    if (!inTerminal)
        return Error{QStringLiteral("“%1” cannot be opened: its terminal “%2” is missing.").arg(name, terminal.first())};
    return inTerminal;
}

void finish(QObject *context, const Workspace::Completion &done, const Status &status)
{
    if (!status)
        qCWarning(lcLaunch).noquote() << status.error();
    if (done)
        QMetaObject::invokeMethod(context, [done, status] { done(status); }, Qt::QueuedConnection);
}

} // namespace

QByteArrayList launchEnvironment(const QByteArrayList &own)
{
    static const QByteArrayList ofOneProcess{
        "DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN", "GIO_LAUNCHED_DESKTOP_FILE", "GIO_LAUNCHED_DESKTOP_FILE_PID",
        "BAMF_DESKTOP_FILE_HINT", "INVOCATION_ID", "JOURNAL_STREAM", "NOTIFY_SOCKET", "MANAGERPID", "SYSTEMD_EXEC_PID",
        "LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES", "WATCHDOG_PID", "WATCHDOG_USEC"};
    QByteArrayList kept;
    for (const QByteArray &variable : own)
        if (const QByteArray name = variable.left(variable.indexOf('='));
            !ofOneProcess.contains(name) && !name.startsWith("COBBLET_"))
            kept.append(variable);
    return kept;
}

QStringList terminalCommand()
{
    struct Terminal {
        const char *program;
        const char *option; ///< what comes before the program to run
    };
    static constexpr Terminal known[] = {
        {"xdg-terminal-exec", nullptr}, {"x-terminal-emulator", "-e"}, {"kgx", "-e"},        {"gnome-terminal", "--"},
        {"konsole", "-e"},              {"xfce4-terminal", "-x"},      {"mate-terminal", "-x"}, {"tilix", "-e"},
        {"kitty", nullptr},             {"alacritty", "-e"},           {"foot", nullptr},    {"xterm", "-e"}};
    for (const Terminal &terminal : known) {
        const QString path = QStandardPaths::findExecutable(QString::fromLatin1(terminal.program));
        if (path.isEmpty())
            continue;
        QStringList command{path};
        if (terminal.option)
            command.append(QString::fromLatin1(terminal.option));
        return command;
    }
    return {};
}

ApplicationLauncher::ApplicationLauncher(X11Connection *x11, QObject *parent) : QObject(parent), m_startup(x11) {}

ApplicationLauncher::~ApplicationLauncher() = default;

void ApplicationLauncher::launch(const InstalledEntry &entry, const QStringList &uris, Workspace::Completion done)
{
    if (entry.dBusActivatable && uris.isEmpty() && isBusName(entry.application.bundleID) && hasSessionBus())
        launchOverBus(entry, uris, done);
    else
        launchCommand(entry, uris, done);
}

void ApplicationLauncher::launchOverBus(const InstalledEntry &entry, const QStringList &uris,
                                        const Workspace::Completion &done)
{
    const QString id = entry.application.bundleID;
    callSessionBus(this, activateCall(id, m_startup.mint()), [this, entry, uris, done, id](const QDBusMessage &reply) {
        if (reply.type() == QDBusMessage::ErrorMessage) {
            const QString cause = QStringLiteral("“%1” cannot be opened over D-Bus: %2")
                                      .arg(entry.application.name, reply.errorMessage());
            if (!entry.hasCommand) {
                finish(this, done, Error{cause});
                return;
            }
            qCWarning(lcLaunch).noquote() << cause << "Its command is run instead.";
            launchCommand(entry, uris, done);
            return;
        }
        finish(this, done, {});
        QDBusMessage ask = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetConnectionUnixProcessID"));
        ask << id;
        callSessionBus(this, ask, [this, id](const QDBusMessage &answer) {
            if (const qint64 pid = answer.arguments().value(0).toLongLong();
                answer.type() == QDBusMessage::ReplyMessage && pid > 0)
                emit launched(id, pid, false);
        });
    });
}

void ApplicationLauncher::launchCommand(const InstalledEntry &entry, const QStringList &uris,
                                        const Workspace::Completion &done)
{
    auto loaded = loadForLaunch(entry);
    if (!loaded) {
        finish(this, done, Error{loaded.error()});
        return;
    }
    const AppInfo info = std::move(loaded).value();
    QByteArrayList environment = launchEnvironment(initialEnvironment());
    const QString startupId = m_startup.mint();
    environment.append("DESKTOP_STARTUP_ID=" + startupId.toUtf8());
    const auto context = contextWith(environment);

    QByteArrayList encoded;
    for (const QString &uri : uris)
        encoded.append(uri.toUtf8());
    GList *list = nullptr;
    for (QByteArray &uri : encoded)
        list = g_list_append(list, uri.data());
    const std::unique_ptr<GList, Releasing<g_list_free>> uriList(list);

    const bool notifies = g_desktop_app_info_get_boolean(info.get(), "StartupNotify") != 0;
    if (notifies)
        m_startup.announce(startupId, entry.application.name, entry.application.path);
    const QByteArray home = QFile::encodeName(QDir::homePath());
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    qint64 pid = 0;
    GError *failure = nullptr;
    const bool launchedIt = g_desktop_app_info_launch_uris_as_manager_with_fds(
        info.get(), list, context.get(), GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD), prepareChild,
        entry.workingFolder.isEmpty() ? const_cast<char *>(home.constData()) : nullptr, takePid, &pid, nowhere,
        outputFor(STDOUT_FILENO, nowhere), outputFor(STDERR_FILENO, nowhere), &failure);
    const std::unique_ptr<GError, Releasing<g_error_free>> error(failure);
    if (nowhere >= 0)
        ::close(nowhere);
    if (!launchedIt) {
        if (notifies)
            m_startup.remove(startupId);
        finish(this, done,
               Error{QStringLiteral("“%1” cannot be opened: %2")
                         .arg(entry.application.name, error ? QString::fromUtf8(error->message) : QStringLiteral("no reason was given."))});
        return;
    }
    started(entry, pid, notifies ? startupId : QString());
    finish(this, done, {});
}

void ApplicationLauncher::started(const InstalledEntry &entry, qint64 pid, const QString &startupId)
{
    if (pid <= 0)
        return;
    if (auto watch = ProcessEnd::watch(pid)) {
        ProcessEnd *child = watch.release();
        child->setParent(this);
        m_children.insert(pid, child);
        connect(child, &ProcessEnd::ended, this, [this, pid, startupId, child] {
            if (!startupId.isEmpty())
                m_startup.remove(startupId);
            m_children.remove(pid);
            child->deleteLater();
        });
    }
    moveToOwnScope(this, entry.application.bundleID, pid);
    emit launched(entry.application.bundleID, pid, entry.terminal);
}

void ApplicationLauncher::activate(const QString &id)
{
    if (isBusName(id))
        callSessionBus(this, activateCall(id, m_startup.mint()), [](const QDBusMessage &) {});
}

} // namespace cobblet
