#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/Processes.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"

#include <QSignalSpy>

#include <optional>

#include <csignal>

namespace {

using namespace cobblet;
using namespace cobblet::test;

class LaunchTest : public DesktopFixture {
protected:
    LaunchTest()
    {
        m_bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    ~LaunchTest() override
    {
        if (!m_bus.isEmpty())
            qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus);
    }

    QByteArray probe(const QByteArray &more = {}) const
    {
        return "\"" COBBLET_LAUNCH_PROBE "\" \"" + report().toLocal8Bit() + "\" " + more;
    }
    QString report() const { return home.path(QStringLiteral("report")); }

    /// Waits for the probe's report.
    QByteArrayList lines() const
    {
        QByteArray text;
        EXPECT_TRUE(waitFor(
            [&] {
                QFile file(report());
                text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
                return text.endsWith("end\n");
            },
            5000));
        return text.split('\n');
    }

    /// Opens and waits for the outcome.
    static QString outcome(FreedesktopWorkspace &workspace, const QString &id, const QString &token = {})
    {
        std::optional<Status> status;
        workspace.open(
            id, [&](const Status &told) { status = told; }, token);
        EXPECT_FALSE(status.has_value()) << "told before open() returned";
        EXPECT_TRUE(waitFor([&] { return status.has_value(); }, 5000));
        return status && !status->ok() ? status->error() : QString();
    }

private:
    QByteArray m_bus;
};

qint64 numberIn(const QByteArrayList &lines, const QByteArray &name)
{
    for (const QByteArray &line : lines)
        if (line.startsWith(name + '='))
            return line.mid(name.size() + 1).toLongLong();
    return 0;
}

TEST_F(LaunchTest, ALaunchedProgramIsOnItsOwn)
{
    QDir().mkpath(home.path(QStringLiteral("work")));
    write(system(QStringLiteral("probe")), entry("Probe", probe("30 \"two words\" $HOME \\\\$(id) %c %f"),
                                                 "Path=" + home.path(QStringLiteral("work")).toLocal8Bit()));
    FreedesktopWorkspace workspace(nullptr);
    QSignalSpy launched(&workspace.launcher(), &ApplicationLauncher::launched);
    qputenv("QT_COBBLET_SET_THIS_ITSELF", "1");
    qputenv("DESKTOP_STARTUP_ID", "of Cobblet's own launch");
    EXPECT_EQ(outcome(workspace, QStringLiteral("probe")), QString());
    qunsetenv("QT_COBBLET_SET_THIS_ITSELF");
    qunsetenv("DESKTOP_STARTUP_ID");

    const QByteArrayList told = lines();
    const qint64 pid = numberIn(told, "pid");
    ASSERT_GT(pid, 0);
    EXPECT_EQ(numberIn(told, "session"), pid) << "a session of its own";
    ASSERT_EQ(launched.count(), 1);
    EXPECT_EQ(launched.first().at(0).toString(), QStringLiteral("probe"));
    EXPECT_EQ(launched.first().at(1).toLongLong(), pid);
    EXPECT_TRUE(told.contains("folder=" + home.path(QStringLiteral("work")).toLocal8Bit()));
    for (const char *argument : {"two words", "$HOME", "$(id)", "Probe"}) // no shell has seen them
        EXPECT_TRUE(told.contains(QByteArray("argument=") + argument)) << argument;
    int startupIds = 0;
    for (const QByteArray &line : told) {
        EXPECT_FALSE(line.startsWith("env:QT_COBBLET_SET_THIS_ITSELF"));
        startupIds += line.startsWith("env:DESKTOP_STARTUP_ID=cobblet-");
    }
    EXPECT_EQ(startupIds, 1);
    EXPECT_TRUE(told.contains("env:GIO_LAUNCHED_DESKTOP_FILE=" + system(QStringLiteral("probe")).toLocal8Bit()));
    EXPECT_TRUE(
        told.contains("env:GIO_LAUNCHED_DESKTOP_FILE_PID=" + QByteArray::number(pid).rightJustified(10, '0')));

    // Its end leaves no zombie of ours.
    ASSERT_EQ(::kill(pid_t(pid), SIGKILL), 0);
    EXPECT_TRUE(waitFor([&] { return ::kill(pid_t(pid), 0) != 0; }));

    // What caused the launch is told, where it is known.
    QFile::remove(report());
    EXPECT_EQ(outcome(workspace, QStringLiteral("probe"), QStringLiteral("token-1")), QString());
    const QByteArrayList again = lines();
    EXPECT_TRUE(again.contains("env:XDG_ACTIVATION_TOKEN=token-1"));
    EXPECT_TRUE(again.contains("env:DESKTOP_STARTUP_ID=token-1"));
    ::kill(pid_t(numberIn(again, "pid")), SIGKILL);
}

TEST_F(LaunchTest, AFailureNamesTheApplicationAndTheCause)
{
    write(system(QStringLiteral("missing")), entry("Missing Thing", "/nowhere/thing"));
    write(system(QStringLiteral("texty")), entry("Texty", probe(), "Terminal=true"));
    write(system(QStringLiteral("lost")), entry("Lost", probe(), "Path=/no/such/folder"));
    write(system(QStringLiteral("org.example.Bus")),
          "[Desktop Entry]\nType=Application\nName=Bus Only\nDBusActivatable=true\n");
    write(system(QStringLiteral("removed")), entry("Removed", "true", "Hidden=true"));
    const QByteArray path = qgetenv("PATH");
    const QString tools = home.path(QStringLiteral("bin"));
    QDir().mkpath(tools);
    qputenv("PATH", tools.toLocal8Bit());
    FreedesktopWorkspace workspace(nullptr);
    const struct {
        const char *id;
        const char *name;
        const char *cause;
    } rows[] = {{"missing", "Missing Thing", "“/nowhere/thing” is missing"},
                {"texty", "Texty", "no terminal emulator is installed"},
                {"lost", "Lost", "/no/such/folder"},
                {"removed", "removed", "marked as deleted"},
                {"unheard-of", "unheard-of", "not installed"}};
    for (const auto &row : rows) {
        const QString message = outcome(workspace, QLatin1String(row.id));
        EXPECT_TRUE(message.contains(QLatin1String(row.name))) << row.id << ": " << qPrintable(message);
        EXPECT_TRUE(message.contains(QString::fromUtf8(row.cause))) << row.id << ": " << qPrintable(message);
    }
    EXPECT_FALSE(outcome(workspace, QStringLiteral("org.example.Bus")).isEmpty());
    EXPECT_FALSE(QFile::exists(report()));

    // With a terminal the program is the terminal's argument.
    write(tools + QStringLiteral("/xterm"), "#!/bin/sh\nshift\nexec \"$@\" in-terminal\n");
    QFile::setPermissions(tools + QStringLiteral("/xterm"), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    EXPECT_EQ(outcome(workspace, QStringLiteral("texty")), QString());
    EXPECT_TRUE(lines().contains("argument=in-terminal"));
    qputenv("PATH", path);
}

TEST_F(LaunchTest, ALaunchedApplicationRunsUntilItsProcessEnds)
{
    write(system(QStringLiteral("probe")), entry("Probe", probe("30")));
    write(system(QStringLiteral("wrapped")),
          entry("Wrapped", "sh -c \"" COBBLET_LAUNCH_PROBE " " + report().toLocal8Bit() + " 30 & exit 0\""));
    FreedesktopWorkspace workspace(nullptr);
    X11RunningApplications running(nullptr, workspace);
    QSignalSpy launches(&running, &RunningApplications::didLaunch);
    QSignalSpy ends(&running, &RunningApplications::didTerminate);
    EXPECT_TRUE(running.runningApplications().isEmpty());

    EXPECT_EQ(outcome(workspace, QStringLiteral("probe")), QString());
    ASSERT_EQ(running.runningApplications().size(), 1);
    const RunningApplication application = running.runningApplications().first();
    EXPECT_EQ(application.processIdentifier, numberIn(lines(), "pid"));
    running.reopen(application); // it is just starting: not a second time
    EXPECT_EQ(running.runningApplications().size(), 1);
    EXPECT_EQ(launches.count(), 1);
    running.terminate({QStringLiteral("probe"), application.processIdentifier + 1}); // another one: left alone
    running.terminate(application);
    EXPECT_TRUE(waitFor([&] { return running.runningApplications().isEmpty(); }));
    EXPECT_EQ(ends.count(), 1);
    running.terminate(application);
    running.forceTerminate(application);

    // A wrapper that leaves: the application goes on in what it left behind.
    QFile::remove(report());
    EXPECT_EQ(outcome(workspace, QStringLiteral("wrapped")), QString());
    const qint64 left = numberIn(lines(), "pid");
    EXPECT_TRUE(waitFor([&] {
        const auto list = running.runningApplications();
        return list.size() == 1 && list.first().processIdentifier == left;
    }));
    EXPECT_EQ(ends.count(), 1);
    running.forceTerminate({QStringLiteral("wrapped"), left});
    EXPECT_TRUE(waitFor([&] { return running.runningApplications().isEmpty(); }));
    EXPECT_EQ(launches.count(), 2);
    EXPECT_EQ(ends.count(), 2);
}

TEST(LaunchEnvironment, KeepsTheUsersVariablesAndDropsTheOnesOfOneProcess)
{
    EXPECT_EQ(launchEnvironment({"PATH=/bin", "QT_QPA_PLATFORMTHEME=gtk3", "XDG_ACTIVATION_TOKEN=x",
                                 "COBBLET_DEBUG=1", "GIO_LAUNCHED_DESKTOP_FILE_PID=1", "NOTIFY_SOCKET=/x", "EMPTY="}),
              (QByteArrayList{"PATH=/bin", "QT_QPA_PLATFORMTHEME=gtk3", "EMPTY="}));
}

TEST(Launcher, NamesOfScopesAreEscaped)
{
    EXPECT_EQ(scopeName(QStringLiteral("a-b.c d"), 7), QStringLiteral("app-cobblet-a\\x2db.c\\x20d-7.scope"));
}

} // namespace
