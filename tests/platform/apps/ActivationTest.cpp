#include "DesktopFixture.h"

#include "platform/freedesktop/apps/FreedesktopWorkspace.h"
#include "platform/freedesktop/apps/X11RunningApplications.h"
#include "platform/freedesktop/bus/SessionBus.h"

#include "platform/PrivateBus.h"

#include <QDBusConnection>

#include <optional>

#include <unistd.h>

namespace {

using namespace cobblet;
using namespace cobblet::test;

/// An application on the bus, and a file manager, in this very process.
class BusApplication : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")
public:
    int activations = 0;
    QVariantMap platformData;

public slots:
    void Activate(const QVariantMap &data)
    {
        ++activations;
        platformData = data;
    }
};

class FileManager : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")
public:
    QStringList shown;

public slots:
    void ShowItems(const QStringList &uris, const QString &) { shown = uris; }
};

class ActivationTest : public DesktopFixture {
protected:
    static std::optional<Status> finished(const std::function<void(Workspace::Completion)> &start)
    {
        std::optional<Status> status;
        start([&](const Status &told) { status = told; });
        EXPECT_TRUE(waitFor([&] { return status.has_value(); }, 5000));
        return status;
    }

    PrivateBus privateBus;
};

TEST_F(ActivationTest, AnApplicationOnTheBusIsAskedToShowItself)
{
    const QString id = QStringLiteral("org.example.On-Bus");
    write(system(id),
          entry("On Bus", "touch " + home.path(QStringLiteral("command-ran")).toLocal8Bit(), "DBusActivatable=true"));
    SessionBus theirs;
    auto &bus = theirs.connection();
    BusApplication service;
    ASSERT_TRUE(bus.registerObject(QStringLiteral("/org/example/On_Bus"), &service, QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(bus.registerService(id));

    SessionBus sessionBus;
    FreedesktopWorkspace workspace(nullptr, &sessionBus);
    X11RunningApplications running(nullptr, workspace);
    const auto status = finished([&](auto done) { workspace.open(id, std::move(done)); });
    EXPECT_TRUE(status && status->ok());
    EXPECT_EQ(service.activations, 1);
    EXPECT_TRUE(service.platformData.value(QStringLiteral("desktop-startup-id")).toString().startsWith(u"cobblet-"));
    EXPECT_FALSE(QFile::exists(home.path(QStringLiteral("command-ran"))));
    // The process behind the name is the application's.
    EXPECT_TRUE(waitFor([&] { return running.runningApplications() == QList<RunningApplication>{{id, getpid()}}; }));
    running.reopen({id, getpid()});
    EXPECT_TRUE(waitFor([&] { return service.activations == 2; }));
}

TEST_F(ActivationTest, AFailingActivationFallsBackToTheCommand)
{
    const QString marker = home.path(QStringLiteral("command-ran"));
    write(system(QStringLiteral("org.example.Absent")),
          entry("Absent", "touch " + marker.toLocal8Bit(), "DBusActivatable=true"));
    SessionBus sessionBus;
    FreedesktopWorkspace workspace(nullptr, &sessionBus);
    const auto status =
        finished([&](auto done) { workspace.open(QStringLiteral("org.example.Absent"), std::move(done)); });
    EXPECT_TRUE(status && status->ok());
    EXPECT_TRUE(waitFor([&] { return QFile::exists(marker); }));
}

TEST_F(ActivationTest, RevealGoesToTheFileManagerOrOpensTheFolder)
{
    write(system(QStringLiteral("some")), entry("Some", "true"));
    SessionBus sessionBus;
    FreedesktopWorkspace workspace(nullptr, &sessionBus);
    const auto reveal = [&] {
        return finished([&](auto done) { workspace.reveal(QStringLiteral("some"), std::move(done)); });
    };
    auto status = reveal(); // nobody there to show it
    EXPECT_TRUE(status && !status->ok() && status->error().contains(u"no file manager"));

    const QString marker = home.path(QStringLiteral("opened"));
    write(system(QStringLiteral("files")),
          entry("Files", "ln -s %f " + marker.toLocal8Bit(), "Categories=System;FileManager;"));
    FreedesktopWorkspace later(nullptr, &sessionBus);
    status = finished([&](auto done) { later.reveal(QStringLiteral("some"), std::move(done)); });
    EXPECT_TRUE(status && status->ok());
    EXPECT_TRUE(
        waitFor([&] { return QFile::symLinkTarget(marker) == home.path(QStringLiteral("system/applications")); }));

    SessionBus theirs;
    auto &bus = theirs.connection();
    FileManager manager;
    ASSERT_TRUE(bus.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), &manager,
                                   QDBusConnection::ExportAllSlots));
    ASSERT_TRUE(bus.registerService(QStringLiteral("org.freedesktop.FileManager1")));
    status = reveal();
    EXPECT_TRUE(status && status->ok());
    EXPECT_EQ(manager.shown, QStringList{QStringLiteral("file://") + system(QStringLiteral("some"))});
}

} // namespace

#include "ActivationTest.moc"
