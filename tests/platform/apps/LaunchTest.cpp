#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/Processes.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"

#include <array>
#include <csignal>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace cobblet;
using namespace cobblet::test;

class LaunchTest : public DesktopFixture {
protected:
    LaunchTest()
    {
        home.set("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        m_probe = home.path(u"probe"_s).toLocal8Bit();
        writeProgram(home.path(u"probe"_s), R"({ echo pid=$$; echo session=$(cut -d' ' -f6 /proc/$$/stat)
echo folder="$PWD"; for each in "$@"; do echo argument="$each"; done
env | sed s/^/env:/; echo end; } >"$0.report"
exec sleep 30
)");
    }

    /// What the probe wrote down of how it was started.
    QByteArrayList report() const
    {
        QFile file(home.path(u"probe.report"_s));
        QByteArray text;
        EXPECT_TRUE(waitFor([&] {
            text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
            file.close();
            return text.endsWith("end\n");
        }));
        file.remove();
        return text.split('\n');
    }
    static qint64 pidIn(const QByteArrayList &report) { return report.first().mid(4).toLongLong(); }

    /// Opens and waits for the outcome: the error, or nothing.
    static QString open(FreedesktopWorkspace &workspace, const QString &id, const QString &token = {})
    {
        std::optional<Status> status;
        workspace.open(
            id, [&](const Status &told) { status = told; }, token);
        EXPECT_FALSE(status.has_value()) << "told before open() returned";
        EXPECT_TRUE(waitFor([&] { return status.has_value(); }));
        return status && !status->ok() ? status->error() : QString();
    }

    QByteArray m_probe;
};

TEST_F(LaunchTest, ALaunchedProgramIsOnItsOwn)
{
    const QByteArray folder = home.path(u"system"_s).toLocal8Bit();
    write(system(u"probe"_s), entry("Probe", m_probe + " \"two words\" \\\\$(id)", "Path=" + folder));
    FreedesktopWorkspace workspace(nullptr);
    QSignalSpy launched(&workspace.launcher(), &ApplicationLauncher::launched);
    home.set("QT_COBBLET_SET_THIS_ITSELF", "1");
    EXPECT_EQ(open(workspace, u"probe"_s), QString());

    const QByteArrayList told = report();
    const QByteArray pid = told.first().mid(4);
    EXPECT_EQ(launched.value(0).mid(0, 2), (QVariantList{u"probe"_s, pid.toLongLong()}));
    for (const QByteArray &line : {"session=" + pid, "folder=" + folder, QByteArray("argument=two words"),
                                   QByteArray("argument=$(id)"), // no shell has seen it
                                   "env:GIO_LAUNCHED_DESKTOP_FILE_PID=" + pid.rightJustified(10, '0'),
                                   "env:GIO_LAUNCHED_DESKTOP_FILE=" + system(u"probe"_s).toLocal8Bit()})
        EXPECT_TRUE(told.contains(line)) << line.constData();
    EXPECT_TRUE(told.join('\n').contains("\nenv:DESKTOP_STARTUP_ID=cobblet-"));
    EXPECT_FALSE(told.join('\n').contains("env:QT_COBBLET_SET_THIS_ITSELF"));

    ASSERT_EQ(::kill(pid.toInt(), SIGKILL), 0);
    EXPECT_TRUE(waitFor([&] { return ::kill(pid.toInt(), 0) != 0; })) << "its end leaves no zombie of ours";

    EXPECT_EQ(open(workspace, u"probe"_s, u"token-1"_s), QString());
    const QByteArrayList again = report();
    EXPECT_TRUE(again.contains("env:XDG_ACTIVATION_TOKEN=token-1") &&
                again.contains("env:DESKTOP_STARTUP_ID=token-1"));
    ::kill(pid_t(pidIn(again)), SIGKILL);
}

TEST_F(LaunchTest, ALaunchedProgramHasItsThreeDescriptorsAndNoneOfOurs)
{
    write(system(u"probe"_s), entry("Probe", m_probe));
    FreedesktopWorkspace workspace(nullptr);
    const QString log = home.path(u"log"_s);
    const std::array before{::dup(STDOUT_FILENO), ::dup(STDERR_FILENO)}; // which an exec does not close
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    const int file = ::open(log.toLocal8Bit().constData(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    for (const auto &[descriptor, expected] : {std::pair(file, log), {pipe[1], u"/dev/null"_s}}) {
        ::dup2(descriptor, STDOUT_FILENO);
        ::dup2(descriptor, STDERR_FILENO);
        const QString error = open(workspace, u"probe"_s);
        ::dup2(before[0], STDOUT_FILENO);
        ::dup2(before[1], STDERR_FILENO);
        EXPECT_EQ(error, QString());
        const qint64 pid = pidIn(report());
        const QDir links(u"/proc/%1/fd"_s.arg(pid));
        // Until the shell, which has more of them, has become the program.
        const QStringList three{u"/dev/null"_s, expected, expected};
        QStringList found;
        EXPECT_TRUE(waitFor([&] {
            found.clear();
            for (const QString &each : links.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot))
                found += QFile::symLinkTarget(links.filePath(each));
            return found == three;
        })) << qPrintable(found.join(u' '));
        ::kill(pid_t(pid), SIGKILL);
    }
    for (const int each : {before[0], before[1], pipe[0], pipe[1], file})
        ::close(each);
}

TEST_F(LaunchTest, AFailureNamesTheApplicationAndTheCause)
{
    const QString tools = home.path(u"bin"_s);
    write(system(u"missing"_s), entry("Missing Thing", "/nowhere/thing"));
    write(system(u"texty"_s), entry("Texty", m_probe, "Terminal=true"));
    write(system(u"lost"_s), entry("Lost", m_probe, "Path=/no/such/folder"));
    home.set("PATH", tools.toLocal8Bit());
    FreedesktopWorkspace workspace(nullptr);
    for (const auto &[id, name, cause] : {std::tuple("missing", "Missing Thing", "“/nowhere/thing” is missing"),
                                          {"texty", "Texty", "no terminal emulator is installed"},
                                          {"lost", "Lost", "/no/such/folder"},
                                          {"unheard-of", "unheard-of", "not installed"}}) {
        const QString message = open(workspace, QLatin1String(id));
        EXPECT_TRUE(message.contains(QLatin1String(name)) && message.contains(QString::fromUtf8(cause)))
            << id << ": " << qPrintable(message);
    }

    // With a terminal the program is the terminal's argument.
    writeProgram(tools + u"/xterm"_s, "shift\nexec \"$@\" in-terminal\n");
    EXPECT_EQ(open(workspace, u"texty"_s), QString());
    const QByteArrayList told = report();
    EXPECT_TRUE(told.contains("argument=in-terminal"));
    ::kill(pid_t(pidIn(told)), SIGKILL);
}

TEST_F(LaunchTest, WhatAWrapperLeavesBehindIsTheApplication)
{
    write(system(u"wrapped"_s), entry("Wrapped", "sh -c \"" + m_probe + " & exit 0\""));
    FreedesktopWorkspace workspace(nullptr);
    X11RunningApplications running(nullptr, workspace);
    QSignalSpy launches(&running, &RunningApplications::didLaunch);
    EXPECT_EQ(open(workspace, u"wrapped"_s), QString());
    const RunningApplication left{u"wrapped"_s, pidIn(report())};
    EXPECT_TRUE(waitFor([&] { return running.runningApplications() == QList{left}; }));
    running.reopen(left);                                          // it is just starting: not a second time
    running.terminate({u"wrapped"_s, left.processIdentifier + 1}); // another one: left alone
    EXPECT_EQ(running.runningApplications(), QList{left});
    running.forceTerminate(left);
    EXPECT_TRUE(waitFor([&] { return running.runningApplications().isEmpty(); }));
    EXPECT_EQ(launches.count(), 1);
}

} // namespace
