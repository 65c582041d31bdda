#include "platform/freedesktop/apps/ApplicationLauncher.h"

#include "platform/freedesktop/Releasing.h"
#include "platform/freedesktop/apps/DesktopBus.h"
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

/// What the child prepares between fork and exec, where only few calls are safe.
struct ChildSetup {
    const char *homeFolder; ///< where it starts; null when another folder was asked for
    char *pidDigits;        ///< where its own number goes in the environment
    size_t digits;
};

void prepareChild(gpointer data)
{
    const auto *setup = static_cast<const ChildSetup *>(data);
    setsid();
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    std::signal(SIGPIPE, SIG_DFL);
    pid_t rest = getpid();
    for (size_t place = setup->digits; place > 0; rest /= 10)
        setup->pidDigits[--place] = char('0' + rest % 10);
    if (setup->homeFolder && chdir(setup->homeFolder) != 0)
        return; // it stays where this process is
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

ApplicationLauncher::~ApplicationLauncher() = default;

void ApplicationLauncher::launch(const InstalledEntry &entry, const QStringList &uris, Workspace::Completion done)
{
    if (entry.dBusActivatable && uris.isEmpty() && isBusName(entry.application.bundleID) && hasBus())
        launchOverBus(entry, uris, done);
    else
        launchCommand(entry, uris, done);
}

void ApplicationLauncher::launchOverBus(const InstalledEntry &entry, const QStringList &uris,
                                        const Workspace::Completion &done)
{
    const QString id = entry.application.bundleID;
    callSessionBus(m_bus, this, activateCall(id, m_startup.mint()),
                   [this, entry, uris, done, id](const QDBusMessage &reply) {
                       if (reply.type() == QDBusMessage::ErrorMessage) {
                           const QString cause = QStringLiteral("“%1” cannot be opened over D-Bus: %2")
                                                     .arg(entry.application.name, reply.errorMessage());
                           if (entry.command.isEmpty()) {
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
                       callSessionBus(m_bus, this, ask, [this, id](const QDBusMessage &answer) {
                           if (const qint64 pid = answer.arguments().value(0).toLongLong();
                               answer.type() == QDBusMessage::ReplyMessage && pid > 0)
                               emit launched(id, pid, false);
                       });
                   });
}

// GIO would launch the entry too, but over a bus connection of its own that is waited for and that ends this
// process together with the bus; so it reads the entry, and GLib starts the command.
void ApplicationLauncher::launchCommand(const InstalledEntry &entry, const QStringList &uris,
                                        const Workspace::Completion &done)
{
    const auto command = argumentsFor(entry, uris);
    if (!command) {
        finish(this, done, Error{command.error()});
        return;
    }
    start(entry, command.value(), done);
}

void ApplicationLauncher::start(const InstalledEntry &entry, const QStringList &command,
                                const Workspace::Completion &done)
{
    QByteArrayList arguments;
    for (const QString &argument : command)
        arguments.append(QFile::encodeName(argument));
    const QString startupId = m_startup.mint();
    QByteArrayList environment = launchEnvironment(initialEnvironment());
    environment.append("DESKTOP_STARTUP_ID=" + startupId.toUtf8());
    environment.append("GIO_LAUNCHED_DESKTOP_FILE=" + QFile::encodeName(entry.application.path));
    const QByteArray pidName = "GIO_LAUNCHED_DESKTOP_FILE_PID=";
    constexpr qsizetype pidDigits = 10;
    environment.append(pidName + QByteArray(pidDigits, '0'));
    std::vector<char *> argumentPointers = pointersTo(arguments);
    std::vector<char *> environmentPointers = pointersTo(environment);

    const QByteArray home = QFile::encodeName(QDir::homePath());
    const QByteArray folder = QFile::encodeName(entry.workingFolder);
    ChildSetup setup{folder.isEmpty() ? home.constData() : nullptr,
                     environmentPointers[environmentPointers.size() - 2] + pidName.size(), pidDigits};
    if (entry.startupNotify)
        m_startup.announce(startupId, entry.application.name, entry.application.path);
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    GPid pid = 0;
    GError *failure = nullptr;
    const bool spawned = g_spawn_async_with_fds(
        folder.isEmpty() ? nullptr : folder.constData(), argumentPointers.data(), environmentPointers.data(),
        GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD), prepareChild, &setup, &pid, nowhere,
        outputFor(STDOUT_FILENO, nowhere), outputFor(STDERR_FILENO, nowhere), &failure);
    const std::unique_ptr<GError, Releasing<g_error_free>> error(failure);
    if (nowhere >= 0)
        ::close(nowhere);
    if (!spawned) {
        if (entry.startupNotify)
            m_startup.remove(startupId);
        finish(this, done,
               Error{QStringLiteral("“%1” cannot be opened: %2.")
                         .arg(entry.application.name,
                              error ? QString::fromUtf8(error->message) : QStringLiteral("no reason was given"))});
        return;
    }
    started(entry, pid, entry.startupNotify ? startupId : QString());
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
    moveToOwnScope(m_bus, this, entry.application.bundleID, pid);
    emit launched(entry.application.bundleID, pid, entry.terminal);
}

bool ApplicationLauncher::hasBus() const
{
    return hasSessionBus(m_bus);
}

void ApplicationLauncher::activate(const QString &id)
{
    if (isBusName(id))
        callSessionBus(m_bus, this, activateCall(id, m_startup.mint()), [](const QDBusMessage &) {});
}

} // namespace cobblet
