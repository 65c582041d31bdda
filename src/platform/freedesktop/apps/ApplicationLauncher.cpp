#include "platform/freedesktop/apps/ApplicationLauncher.h"

#include "platform/freedesktop/Releasing.h"
#include "platform/freedesktop/apps/DesktopEntry.h"

#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <algorithm>
#include <csignal>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <glib.h>

namespace cobblet {

Q_LOGGING_CATEGORY(lcLaunch, "cobblet.applications.launch")

namespace {

constexpr qsizetype pidDigits = 10;

/// What the child does between fork and exec, where only few calls are safe. `data` is where its own number goes in
/// the environment.
void prepareChild(gpointer data)
{
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    pid_t rest = getpid();
    for (qsizetype place = pidDigits; place > 0; rest /= 10)
        static_cast<char *>(data)[--place] = char('0' + rest % 10);
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

/// Output of ours that goes to a file or the journal is a place for the application's output too; a pipe or a
/// terminal may be gone long before the application is.
int outputFor(int descriptor, int nowhere)
{
    struct stat status {};
    const bool lasting = fstat(descriptor, &status) == 0 && (S_ISREG(status.st_mode) || S_ISSOCK(status.st_mode));
    return lasting ? descriptor : nowhere;
}

/// The arguments that start an entry's command, in a terminal where it wants one.
Result<QStringList> argumentsFor(const InstalledEntry &entry, const QStringList &uris)
{
    const QString &name = entry.application.name;
    const QStringList arguments = expandExec(entry.command, {name, entry.icon, entry.application.path, uris});
    if (arguments.isEmpty())
        return Error{
            QStringLiteral("“%1” cannot be opened: its desktop entry does not say how to start it.").arg(name)};
    if (QStandardPaths::findExecutable(arguments.first()).isEmpty())
        return Error{
            QStringLiteral("“%1” cannot be opened: its program “%2” is missing.").arg(name, arguments.first())};
    if (!entry.terminal)
        return arguments;
    const QStringList terminal = terminalCommand();
    if (terminal.isEmpty())
        return Error{
            QStringLiteral("“%1” cannot be opened: it needs a terminal, and no terminal emulator is installed.")
                .arg(name)};
    return terminal + arguments;
}

/// A list of texts as the C functions take it; it points into `texts`.
std::vector<char *> pointersTo(QByteArrayList &texts)
{
    std::vector<char *> pointers;
    for (QByteArray &text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

void finish(QObject *context, const Workspace::Completion &done, const Status &status)
{
    if (!status)
        qCWarning(lcLaunch).noquote() << status.error();
    if (done)
        QMetaObject::invokeMethod(
            context, [done, status] { done(status); }, Qt::QueuedConnection);
}

} // namespace

QByteArrayList launchEnvironment(const QByteArrayList &own)
{
    static const QByteArrayList ofOneProcess{"DESKTOP_STARTUP_ID",
                                             "XDG_ACTIVATION_TOKEN",
                                             "GIO_LAUNCHED_DESKTOP_FILE",
                                             "GIO_LAUNCHED_DESKTOP_FILE_PID",
                                             "BAMF_DESKTOP_FILE_HINT",
                                             "INVOCATION_ID",
                                             "JOURNAL_STREAM",
                                             "NOTIFY_SOCKET",
                                             "MANAGERPID",
                                             "SYSTEMD_EXEC_PID",
                                             "LISTEN_PID",
                                             "LISTEN_FDS",
                                             "LISTEN_FDNAMES",
                                             "WATCHDOG_PID",
                                             "WATCHDOG_USEC"};
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
    static constexpr Terminal known[] = {{"xdg-terminal-exec", nullptr},
                                         {"x-terminal-emulator", "-e"},
                                         {"kgx", "-e"},
                                         {"gnome-terminal", "--"},
                                         {"konsole", "-e"},
                                         {"xfce4-terminal", "-x"},
                                         {"mate-terminal", "-x"},
                                         {"tilix", "-e"},
                                         {"kitty", nullptr},
                                         {"alacritty", "-e"},
                                         {"foot", nullptr},
                                         {"xterm", "-e"}};
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

ApplicationLauncher::ApplicationLauncher(X11Connection *x11, SessionBus *bus, QObject *parent)
    : QObject(parent), m_bus(bus), m_startup(x11)
{
}

void ApplicationLauncher::launch(const InstalledEntry &entry, const Launch &launch)
{
    if (entry.dBusActivatable && launch.uris.isEmpty() && isBusName(entry.application.bundleID) && hasBus())
        launchOverBus(entry, launch);
    else
        launchCommand(entry, launch);
}

void ApplicationLauncher::launchOverBus(const InstalledEntry &entry, const Launch &launch)
{
    const QString id = entry.application.bundleID;
    callSessionBus(m_bus, this, activateCall(id, tokenFor(launch)),
                   [this, entry, launch, id](const QDBusMessage &reply) {
                       if (reply.type() == QDBusMessage::ErrorMessage) {
                           const QString cause = QStringLiteral("“%1” cannot be opened over D-Bus: %2")
                                                     .arg(entry.application.name, reply.errorMessage());
                           if (entry.command.isEmpty()) {
                               finish(this, launch.done, Error{cause});
                               return;
                           }
                           qCWarning(lcLaunch).noquote() << cause << "Its command is run instead.";
                           launchCommand(entry, launch);
                           return;
                       }
                       finish(this, launch.done, {});
                       QDBusMessage ask = QDBusMessage::createMethodCall(
                           QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                           QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetConnectionUnixProcessID"));
                       ask << id;
                       callSessionBus(m_bus, this, ask, [this, id](const QDBusMessage &answer) {
                           if (const qint64 pid = answer.arguments().value(0).toLongLong();
                               answer.type() == QDBusMessage::ReplyMessage && pid > 0)
                               emit launched(id, pid, false);
                       });
                   });
}

// GIO would launch the entry too, but over a bus connection of its own that is waited for and that ends this
// process together with the bus; so it reads the entry, and GLib starts the command.
void ApplicationLauncher::launchCommand(const InstalledEntry &entry, const Launch &launch)
{
    const auto command = argumentsFor(entry, launch.uris);
    if (command)
        start(entry, command.value(), launch);
    else
        finish(this, launch.done, Error{command.error()});
}

void ApplicationLauncher::start(const InstalledEntry &entry, const QStringList &command, const Launch &launch)
{
    QByteArrayList arguments;
    for (const QString &argument : command)
        arguments.append(QFile::encodeName(argument));
    const QString startupId = tokenFor(launch);
    QByteArrayList environment = launchEnvironment(initialEnvironment());
    environment.append("DESKTOP_STARTUP_ID=" + startupId.toUtf8());
    if (!launch.activationToken.isEmpty()) // a minted one means nothing to a Wayland compositor
        environment.append("XDG_ACTIVATION_TOKEN=" + startupId.toUtf8());
    environment.append("GIO_LAUNCHED_DESKTOP_FILE=" + QFile::encodeName(entry.application.path));
    const QByteArray pidName = "GIO_LAUNCHED_DESKTOP_FILE_PID=";
    environment.append(pidName + QByteArray(pidDigits, '0')); // the last one: the child writes into it
    std::vector<char *> argumentPointers = pointersTo(arguments);
    std::vector<char *> environmentPointers = pointersTo(environment);

    QString folder = entry.workingFolder;
    if (folder.isEmpty())
        folder = QDir(QDir::homePath()).exists() ? QDir::homePath() : QStringLiteral("/");
    if (entry.startupNotify)
        m_startup.announce(startupId, entry.application.name, entry.application.path);
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    GPid pid = 0;
    GError *failure = nullptr;
    const bool spawned = g_spawn_async_with_fds(
        QFile::encodeName(folder).constData(), argumentPointers.data(), environmentPointers.data(),
        GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD), prepareChild,
        environmentPointers[environmentPointers.size() - 2] + pidName.size(), &pid, nowhere,
        outputFor(STDOUT_FILENO, nowhere), outputFor(STDERR_FILENO, nowhere), &failure);
    const std::unique_ptr<GError, Releasing<g_error_free>> error(failure);
    if (nowhere >= 0)
        ::close(nowhere);
    if (!spawned) {
        if (entry.startupNotify)
            m_startup.remove(startupId);
        finish(this, launch.done,
               Error{QStringLiteral("“%1” cannot be opened: %2.")
                         .arg(entry.application.name,
                              error ? QString::fromUtf8(error->message) : QStringLiteral("no reason was given"))});
        return;
    }
    started(entry, pid, entry.startupNotify ? startupId : QString());
    finish(this, launch.done, {});
}

void ApplicationLauncher::started(const InstalledEntry &entry, qint64 pid, const QString &startupId)
{
    if (pid <= 0)
        return;
    // Watched until then so that it leaves no zombie.
    if (ProcessEnd *child = ProcessEnd::watch(pid).release()) {
        child->setParent(this);
        connect(child, &ProcessEnd::ended, this, [this, startupId, child] {
            if (!startupId.isEmpty())
                m_startup.remove(startupId);
            child->deleteLater();
        });
    }
    moveToOwnScope(m_bus, this, entry.application.bundleID, pid);
    emit launched(entry.application.bundleID, pid, entry.terminal);
}

bool ApplicationLauncher::givesScopes() const
{
    return hasBus() && QFile::exists(QStringLiteral("/run/user/%1/systemd").arg(getuid()));
}

void ApplicationLauncher::activate(const QString &id)
{
    if (isBusName(id))
        callSessionBus(m_bus, this, activateCall(id, m_startup.mint()), [](const QDBusMessage &) {});
}

} // namespace cobblet
