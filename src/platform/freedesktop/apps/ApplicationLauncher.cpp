#include "platform/freedesktop/apps/ApplicationLauncher.h"

#include "platform/freedesktop/apps/DesktopEntry.h"
#include "platform/freedesktop/apps/Processes.h"
#include "platform/freedesktop/bus/BusNames.h"
#include "platform/portable/Releasing.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <algorithm>
#include <array>
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

using UnitProperty = std::pair<QString, QDBusVariant>;
using AuxiliaryUnit = std::pair<QString, QList<UnitProperty>>;

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

/// The standard descriptors of a launched program: nothing to read, and our own output where that is a file or the
/// journal, as a pipe or a terminal may be gone long before the application is. They are copies past the standard
/// ones: GLib closes in the child what it was handed.
class StandardDescriptors {
public:
    StandardDescriptors()
    {
        const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
        for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            m_copies[size_t(each)] =
                fcntl(isLastingOutput(each) ? each : nowhere, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        ::close(nowhere);
    }
    ~StandardDescriptors()
    {
        for (const int copy : m_copies)
            ::close(copy);
    }
    StandardDescriptors(const StandardDescriptors &) = delete;
    StandardDescriptors &operator=(const StandardDescriptors &) = delete;

    int operator[](size_t standard) const { return m_copies[standard]; }

private:
    static bool isLastingOutput(int descriptor)
    {
        struct stat status {};
        return descriptor != STDIN_FILENO && fstat(descriptor, &status) == 0 &&
               (S_ISREG(status.st_mode) || S_ISSOCK(status.st_mode));
    }

    std::array<int, 3> m_copies{};
};

/// The command that shows a program in a terminal, less the program; empty without a terminal emulator.
QStringList terminalCommand()
{
    // With what comes before the program to run.
    for (const char *known :
         {"xdg-terminal-exec", "x-terminal-emulator -e", "kgx -e", "gnome-terminal --", "konsole -e",
          "xfce4-terminal -x", "mate-terminal -x", "tilix -e", "kitty", "alacritty -e", "foot", "xterm -e"}) {
        QStringList command = QString::fromLatin1(known).split(u' ');
        command.first() = QStandardPaths::findExecutable(command.first());
        if (!command.first().isEmpty())
            return command;
    }
    return {};
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

/// A name as a part of a unit's name: everything that separates parts is escaped.
QString escapedForUnit(const QString &text)
{
    QString out;
    for (const char c : text.toUtf8()) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
                           (c == '.' && !out.isEmpty());
        out += plain ? QString(QLatin1Char(c))
                     : QStringLiteral("\\x") + QString::number(uchar(c), 16).rightJustified(2, u'0');
    }
    return out;
}

/// The call that tells an application on the bus to show itself, starting it where needed.
QDBusMessage activateCall(const QString &id, const QString &startupId)
{
    const QVariantMap platformData{{QStringLiteral("desktop-startup-id"), startupId},
                                   {QStringLiteral("activation-token"), startupId}};
    return busCall(id, busPathOf(id), QStringLiteral("org.freedesktop.Application"), QStringLiteral("Activate"),
                   {platformData});
}

/// Whether a service manager of the user runs.
bool hasServiceManager()
{
    return QFile::exists(QStringLiteral("/run/user/%1/systemd").arg(getuid()));
}

} // namespace

QByteArrayList launchEnvironment(const QByteArrayList &own)
{
    static const QByteArrayList ofOneProcess =
        QByteArray("DESKTOP_STARTUP_ID XDG_ACTIVATION_TOKEN GIO_LAUNCHED_DESKTOP_FILE GIO_LAUNCHED_DESKTOP_FILE_PID "
                   "BAMF_DESKTOP_FILE_HINT INVOCATION_ID JOURNAL_STREAM NOTIFY_SOCKET MANAGERPID SYSTEMD_EXEC_PID "
                   "LISTEN_PID LISTEN_FDS LISTEN_FDNAMES WATCHDOG_PID WATCHDOG_USEC")
            .split(' ');
    QByteArrayList kept;
    for (const QByteArray &variable : own)
        if (const QByteArray name = variable.left(variable.indexOf('='));
            !ofOneProcess.contains(name) && !name.startsWith("COBBLET_"))
            kept.append(variable);
    return kept;
}

QString scopeName(const QString &id, qint64 pid)
{
    return QStringLiteral("app-cobblet-%1-%2.scope").arg(escapedForUnit(id)).arg(pid);
}

void ApplicationLauncher::finish(const Workspace::Completion &done, const Status &outcome)
{
    if (!outcome)
        qCWarning(lcLaunch).noquote() << outcome.error();
    if (done)
        QMetaObject::invokeMethod(
            this, [done, outcome] { done(outcome); }, Qt::QueuedConnection);
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
    emit launching();
    callSessionBus(m_bus, this, activateCall(id, tokenFor(launch)),
                   [this, entry, launch, id](const QDBusMessage &reply) {
                       if (reply.type() == QDBusMessage::ErrorMessage) {
                           const QString cause = QStringLiteral("“%1” cannot be opened over D-Bus: %2")
                                                     .arg(entry.application.name, reply.errorMessage());
                           if (entry.command.isEmpty())
                               return finish(launch.done, Error{cause});
                           qCWarning(lcLaunch).noquote() << cause << "Its command is run instead.";
                           return launchCommand(entry, launch);
                       }
                       finish(launch.done, {});
                       const QDBusMessage ask = busQuestion("GetConnectionUnixProcessID", {id});
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
        finish(launch.done, Error{command.error()});
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
    const StandardDescriptors descriptors;
    GPid pid = 0;
    GError *failure = nullptr;
    const bool spawned = g_spawn_async_with_fds(
        QFile::encodeName(folder).constData(), argumentPointers.data(), environmentPointers.data(),
        GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD), prepareChild,
        environmentPointers[environmentPointers.size() - 2] + pidName.size(), &pid, descriptors[STDIN_FILENO],
        descriptors[STDOUT_FILENO], descriptors[STDERR_FILENO], &failure);
    const std::unique_ptr<GError, Releasing<g_error_free>> error(failure);
    if (!spawned) {
        if (entry.startupNotify)
            m_startup.remove(startupId);
        return finish(launch.done,
                      Error{QStringLiteral("“%1” cannot be opened: %2.")
                                .arg(entry.application.name, error ? QString::fromUtf8(error->message)
                                                                   : QStringLiteral("no reason was given"))});
    }
    emit launching();
    // Watched until it ends so that it leaves no zombie.
    if (ProcessEnd *child = ProcessEnd::watch(pid).release()) {
        child->setParent(this);
        connect(child, &ProcessEnd::ended, this,
                [this, child, announced = entry.startupNotify ? startupId : QString()] {
                    m_startup.remove(announced);
                    child->deleteLater();
                });
    }
    moveToOwnScope(entry.application.bundleID, pid);
    emit launched(entry.application.bundleID, pid, entry.terminal);
    finish(launch.done, {});
}

bool ApplicationLauncher::givesScopes() const
{
    return hasBus() && hasServiceManager();
}

/// Where a service manager of the user runs; elsewhere nothing happens.
void ApplicationLauncher::moveToOwnScope(const QString &id, qint64 pid)
{
    if (!m_bus || !hasServiceManager())
        return;
    qDBusRegisterMetaType<UnitProperty>();
    qDBusRegisterMetaType<QList<UnitProperty>>();
    qDBusRegisterMetaType<AuxiliaryUnit>();
    qDBusRegisterMetaType<QList<AuxiliaryUnit>>();
    const QList<UnitProperty> properties{
        {QStringLiteral("Description"), QDBusVariant(QStringLiteral("Application launched by Cobblet"))},
        {QStringLiteral("PIDs"), QDBusVariant(QVariant::fromValue(QList<uint>{uint(pid)}))},
        {QStringLiteral("CollectMode"), QDBusVariant(QStringLiteral("inactive-or-failed"))}};
    const QDBusMessage call =
        busCall(QStringLiteral("org.freedesktop.systemd1"), QStringLiteral("/org/freedesktop/systemd1"),
                QStringLiteral("org.freedesktop.systemd1.Manager"), QStringLiteral("StartTransientUnit"),
                {scopeName(id, pid), QStringLiteral("fail"), QVariant::fromValue(properties),
                 QVariant::fromValue(QList<AuxiliaryUnit>())});
    callSessionBus(
        m_bus, this, call, [id](const QDBusMessage &reply) {
            if (reply.type() == QDBusMessage::ErrorMessage)
                qCInfo(lcLaunch).noquote()
                    << QStringLiteral("“%1” shares Cobblet's systemd scope: %2").arg(id, reply.errorMessage());
        });
}

void ApplicationLauncher::activate(const QString &id)
{
    if (!isBusName(id))
        return;
    emit launching();
    callSessionBus(m_bus, this, activateCall(id, m_startup.mint()), [](const QDBusMessage &) {});
}

} // namespace cobblet
