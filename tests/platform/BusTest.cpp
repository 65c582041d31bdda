#include "PrivateBus.h"

#include "platform/freedesktop/bus/BusNames.h"
#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/DBusIntents.h"
#include "platform/freedesktop/bus/DBusNotifications.h"
#include "platform/freedesktop/bus/PortalAppearance.h"
#include "platform/freedesktop/bus/SessionBus.h"
#include "support/TemporaryHome.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <signal.h>

using namespace cobblet;

namespace {

const QString identifier = QStringLiteral("com.example.cobblet-test");

class BusTest : public test::PrivateBusTest {
protected:
    test::TemporaryHome m_home;
};

TEST_F(BusTest, ALaterStartReachesTheFirstOneWithItsToken)
{
    SessionBus bus;
    DBusInstance first(bus, identifier);
    QSignalSpy reopened(&first, &Instance::reopen);
    ASSERT_EQ(first.claim(), Instance::Role::First);
    EXPECT_EQ(reopened.size(), 0);

    for (const QStringList &environment : {QStringList(QStringLiteral("DESKTOP_STARTUP_ID=launch-1_TIME77")),
                                           QStringList(QStringLiteral("XDG_ACTIVATION_TOKEN=token")), QStringList()})
        EXPECT_EQ(test::Claimer(identifier, environment).line(), QStringLiteral("handed over"));
    ASSERT_EQ(reopened.size(), 3);
    EXPECT_EQ(reopened[0][0].toString(), QStringLiteral("launch-1_TIME77"));
    EXPECT_EQ(reopened[1][0].toString(), QStringLiteral("token"));
    EXPECT_EQ(reopened[2][0].toString(), QString());
}

TEST_F(BusTest, AFirstInstanceThatHangsIsNotWaitedForLongAndWhenItEndsTheNameIsFree)
{
    test::Claimer first(identifier);
    ASSERT_EQ(first.line(), QStringLiteral("first"));
    const auto claim = [] {
        SessionBus bus;
        return DBusInstance(bus, identifier, {}, std::chrono::milliseconds(200)).claim();
    };
    ::kill(pid_t(first.pid()), SIGSTOP);
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(claim(), Instance::Role::HandedOver);
    EXPECT_LT(clock.elapsed(), 2'000);
    ::kill(pid_t(first.pid()), SIGCONT);
    EXPECT_EQ(first.line(), QStringLiteral("reopen")) << "it gets the request when it goes on";
    first.end();
    EXPECT_EQ(claim(), Instance::Role::First);
}

TEST_F(BusTest, AnApplicationWithoutRequestsTakesActionsAndNoAddresses)
{
    SessionBus bus, other;
    DBusInstance instance(bus, identifier,
                          {.action = [](const QString &action) { return action == QLatin1String("known"); }});
    ASSERT_EQ(instance.claim(), Instance::Role::First);
    EXPECT_EQ(instance.availability().level, Availability::Level::Works);
    const auto isDone = [&](const QString &method, const QVariantList &arguments) {
        QDBusMessage call = QDBusMessage::createMethodCall(identifier, busPathOf(identifier),
                                                           QStringLiteral("org.freedesktop.Application"), method);
        call.setArguments(arguments + QVariantList{QVariantMap()});
        QDBusPendingCallWatcher watcher(other.connection().asyncCall(call));
        QSignalSpy(&watcher, &QDBusPendingCallWatcher::finished).wait(5'000);
        return watcher.reply().type() == QDBusMessage::ReplyMessage;
    };
    EXPECT_FALSE(isDone(QStringLiteral("Open"), {QStringList{QStringLiteral("x:y")}}));
    EXPECT_TRUE(isDone(QStringLiteral("ActivateAction"), {QStringLiteral("known"), QVariantList()}));
    EXPECT_FALSE(isDone(QStringLiteral("ActivateAction"), {QStringLiteral("other"), QVariantList()}));
}

TEST_F(BusTest, NotificationsReachEveryProcessTheSenderIncluded)
{
    SessionBus oneBus, twoBus;
    DBusNotifications one(oneBus), two(twoBus);
    QSignalSpy seenByOne(&one, &DistributedNotifications::received);
    QSignalSpy seenByTwo(&two, &DistributedNotifications::received);
    ASSERT_TRUE(one.post(QStringLiteral("com.cobblet.repaintTile"), QStringLiteral("ID")));
    for (QSignalSpy *seen : {&seenByOne, &seenByTwo}) {
        ASSERT_TRUE(!seen->isEmpty() || seen->wait(2'000));
        EXPECT_EQ(seen->size(), 1);
        EXPECT_EQ(seen->constFirst(),
                  (QVariantList{QStringLiteral("com.cobblet.repaintTile"), QStringLiteral("ID")}));
    }
    EXPECT_FALSE(one.post(QStringLiteral("name"), QString(5'000, QLatin1Char('x'))));
}

/// Answers as the settings portal does.
class FakePortal : public QDBusVirtualObject {
public:
    explicit FakePortal(QDBusConnection &bus) : m_bus(bus)
    {
        m_bus.registerVirtualObject(QStringLiteral("/org/freedesktop/portal/desktop"), this);
        m_bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        if (message.member() != QLatin1String("Read"))
            return false;
        QVariant value = scheme;
        if (message.arguments().value(1).toString() == QLatin1String("accent-color")) {
            QDBusArgument color;
            color.beginStructure();
            color << accent[0] << accent[1] << accent[2];
            color.endStructure();
            value = QVariant::fromValue(color);
        }
        const QVariant inner = QVariant::fromValue(QDBusVariant(value));
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(inner))));
    }
    void announce()
    {
        QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
                                                         QStringLiteral("org.freedesktop.portal.Settings"),
                                                         QStringLiteral("SettingChanged"));
        signal.setArguments({QStringLiteral("org.freedesktop.appearance"), QStringLiteral("color-scheme"),
                             QVariant::fromValue(QDBusVariant(scheme))});
        m_bus.send(signal);
    }

    QVariant scheme = 1u;
    double accent[3] = {1, 0.5, 0};

private:
    QDBusConnection &m_bus;
};

TEST_F(BusTest, AppearanceFollowsThePortal)
{
    SessionBus portalBus, bus;
    FakePortal portal(portalBus.connection());
    PortalAppearance appearance(bus);
    QSignalSpy changed(&appearance, &Appearance::changed);
    EXPECT_FALSE(appearance.isDark()) << "the guess, before the answer";
    const auto becomes = [&](const auto &condition) { return QTest::qWaitFor(condition, 2'000); };
    EXPECT_TRUE(
        becomes([&] { return appearance.isDark() && appearance.accentColor() == QColor::fromRgbF(1, 0.5, 0); }));

    portal.scheme = 2u;
    portal.accent[0] = -1; // out of range: no colour chosen
    portal.announce();
    EXPECT_TRUE(becomes([&] { return !appearance.isDark() && appearance.accentColor() == QColor(0, 122, 255); }));
    portal.scheme = 1u;
    portal.announce();
    EXPECT_TRUE(becomes([&] { return appearance.isDark(); }));
    portal.scheme = 0u;
    portal.announce();
    EXPECT_TRUE(becomes([&] { return !appearance.isDark(); }));
    const qsizetype before = changed.size();
    portal.scheme = QStringLiteral("dark"); // of another type than the standard says
    portal.announce();
    QTest::qWait(100);
    EXPECT_EQ(changed.size(), before);
}

TEST_F(BusTest, WithoutAPortalTheToolkitsSettingsDecide)
{
    QDir().mkpath(m_home.path(QStringLiteral(".config/gtk-3.0")));
    QFile settings(m_home.path(QStringLiteral(".config/gtk-3.0/settings.ini")));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    settings.write("[Settings]\ngtk-application-prefer-dark-theme = true\n");
    settings.close();
    SessionBus bus;
    const PortalAppearance appearance(bus);
    QTest::qWait(50);
    EXPECT_TRUE(appearance.isDark());
}

TEST(BusNamesTest, IdentifiersBecomeNamesAndPaths)
{
    const struct {
        const char *identifier, *name, *path;
        bool isName;
    } cases[] = {
        {"org.gnome.Text-Editor", "org.gnome.Text-Editor", "/org/gnome/Text_Editor", true},
        {"a.b-c_1", "a.b-c_1", "/a/b_c_1", true},
        {"com.agent.8F-1.9", "com.agent._8F-1._9", "/com/agent/8F_1/9", false},
        {"plain", "plain", "/plain", false},
        {"a..b", "a..b", "/a//b", false},
        {"a.b c", "a.b c", "/a/b c", false},
    };
    for (const auto &each : cases) {
        const QString identifier = QLatin1String(each.identifier);
        EXPECT_EQ(busName(identifier), QLatin1String(each.name));
        EXPECT_EQ(busPathOf(identifier), QLatin1String(each.path));
        EXPECT_EQ(isBusName(identifier), each.isName) << each.identifier;
    }
    EXPECT_FALSE(isBusName(QStringLiteral("a.ü")));
}

TEST(SessionBusTest, WithoutASocketOfThisMachineServicesSayThatTheyDoNotWork)
{
    const struct {
        const char *stated, *address;
    } cases[] = {
        {"unix:path=/run/bus", "unix:path=/run/bus"},
        {"unix:abstract=a,guid=1;tcp:host=h,port=1;unix:path=/b", "unix:abstract=a,guid=1;unix:path=/b"},
        {"nonce-tcp:host=localhost,port=1,noncefile=/n", ""},
        {"unixexec:path=/bin/true", ""},
        {";;", ""},
        {"autolaunch:", ""},
    };
    for (const auto &each : cases) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", each.stated);
        EXPECT_EQ(SessionBus::address(), QLatin1String(each.address)) << each.stated;
    }
    SessionBus bus;
    DBusInstance instance(bus, identifier);
    const DBusIntents intents(instance, identifier);
    EXPECT_EQ(instance.claim(), Instance::Role::First);
    EXPECT_EQ(instance.availability().level, Availability::Level::Not);
    EXPECT_EQ(intents.availability().level, Availability::Level::Not);
    EXPECT_EQ(DBusNotifications(bus).availability().level, Availability::Level::Not);
    EXPECT_EQ(PortalAppearance(bus).availability().level, Availability::Level::Partly);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}

} // namespace
