#include "DesktopFixture.h"

#include "platform/PrivateBus.h"
#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"

#include <QDBusArgument>

#include <unistd.h>

namespace {

using namespace cobblet;
using namespace cobblet::test;

/// Has a name on the bus, in this very process, and notes what is asked of it.
class Service : public BusService {
public:
    using BusService::BusService;
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        asked.append(message);
        return bus.send(message.createReply());
    }

    QList<QDBusMessage> asked;
};

class ActivationTest : public DesktopFixture {
protected:
    /// The error, or nothing.
    static QString outcome(const std::function<void(Workspace::Completion)> &start)
    {
        std::optional<Status> status;
        start([&](const Status &told) { status = told; });
        EXPECT_TRUE(waitFor([&] { return status.has_value(); }));
        return status ? status->error() : QString();
    }

    PrivateBus privateBus;
    SessionBus bus;
};

TEST_F(ActivationTest, AnApplicationOnTheBusIsAskedToShowItselfOrItsCommandRun)
{
    const QString id = u"org.example.On-Bus"_s, marker = home.path(u"command-ran"_s);
    write(system(id), entry("On Bus", "touch " + marker.toLocal8Bit(), "DBusActivatable=true"));
    FreedesktopWorkspace workspace(nullptr, &bus);
    X11RunningApplications running(nullptr, workspace);
    const auto open = [&](auto done) { workspace.open(id, std::move(done)); };
    {
        const Service service(id, u"/org/example/On_Bus"_s);
        EXPECT_EQ(outcome(open), QString());
        ASSERT_EQ(service.asked.size(), 1);
        const QVariantMap data = qdbus_cast<QVariantMap>(service.asked[0].arguments().value(0));
        EXPECT_TRUE(data.value(u"desktop-startup-id"_s).toString().startsWith(u"cobblet-"));
        // The process behind the name is the application's.
        EXPECT_TRUE(waitFor([&] {
            return running.runningApplications() == QList<RunningApplication>{{id, getpid()}};
        }));
        running.reopen({id, getpid()});
        EXPECT_TRUE(waitFor([&] { return service.asked.size() == 2; }));
        EXPECT_FALSE(QFile::exists(marker));
    }
    EXPECT_EQ(outcome(open), QString());
    EXPECT_TRUE(waitFor([&] { return QFile::exists(marker); })) << "nobody has the name any more";
}

TEST_F(ActivationTest, RevealGoesToTheFileManagerOrOpensTheFolder)
{
    write(system(u"some"_s), entry("Some", "true"));
    const auto reveal = [&] {
        FreedesktopWorkspace workspace(nullptr, &bus);
        return outcome([&](auto done) { workspace.reveal(u"some"_s, std::move(done)); });
    };
    EXPECT_TRUE(reveal().contains(u"no file manager"));

    const QString marker = home.path(u"opened"_s);
    write(system(u"files"_s), entry("Files", "ln -s %f " + marker.toLocal8Bit(), "Categories=System;FileManager;"));
    EXPECT_EQ(reveal(), QString());
    EXPECT_TRUE(waitFor([&] { return QFile::symLinkTarget(marker) == home.path(u"system/applications"_s); }));

    const Service manager(u"org.freedesktop.FileManager1"_s, u"/org/freedesktop/FileManager1"_s);
    EXPECT_EQ(reveal(), QString());
    EXPECT_EQ(manager.asked.value(0).arguments().value(0), QStringList(u"file://"_s + system(u"some"_s)));
}

} // namespace
