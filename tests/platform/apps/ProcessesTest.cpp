#include "platform/freedesktop/apps/Processes.h"

#include <gtest/gtest.h>

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace cobblet;

TEST(Processes, AnApplicationsOwnAreItsDescendantsInItsSession)
{
    const QList<ProcessEntry> all{
        {10, 1, 10, 0},  // the application
        {11, 10, 10, 0}, // its helper
        {12, 11, 10, 0}, // the helper's helper
        {13, 10, 13, 0}, // a shell in a session of its own
        {14, 13, 13, 0}, // what runs in the shell
        {15, 10, 10, 0}, // another application, started by this one
        {16, 15, 10, 0}, // and its helper
        {17, 1, 10, 0},  // a neighbour in the session
    };
    const std::tuple<QList<qint64>, QList<qint64>, QList<qint64>> cases[] = {
        // roots, others, own
        {{10}, {}, {10, 11, 15, 12, 16}},
        {{10, 13, 15}, {15}, {10, 13, 11, 14, 12}},
    };
    for (const auto &[roots, others, own] : cases) {
        QList<qint64> found;
        for (const ProcessEntry &process : ownProcesses(roots, all, others))
            found.append(process.pid);
        EXPECT_EQ(found, own);
    }
}

TEST(Processes, ASignalReachesOnlyTheProcessThatWasSeen)
{
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    const auto seen = processEntry(child);
    ASSERT_TRUE(seen.has_value());
    EXPECT_TRUE(isOrDescendsFrom(child, getpid()));
    EXPECT_FALSE(isOrDescendsFrom(getpid(), child));
    ProcessEntry later = *seen; // a later process with the same number
    later.started += 1;
    EXPECT_FALSE(sendSignal(later, SIGKILL));
    EXPECT_TRUE(sendSignal(*seen, SIGTERM));
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

} // namespace
