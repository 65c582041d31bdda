#include "PrivateBus.h"

#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/DBusIntents.h"
#include "platform/freedesktop/bus/DBusNotifications.h"
#include "platform/freedesktop/bus/PortalAppearance.h"
#include "support/TemporaryHome.h"

#include <QDBusArgument>
#include <QDBusVariant>
#include <QElapsedTimer>

#include <signal.h>

using namespace cobblet;

namespace {

const QString identifier = u"com.example.cobblet-test"_s;

class BusTest : public test::PrivateBusTest {
protected:
    test::TemporaryHome home;
    SessionBus bus;
};

TEST_F(BusTest, ALaterStartReachesTheFirstOneAndDoesNotWaitLongForOneThatHangs)
{
    test::Claimer first(identifier);
    ASSERT_EQ(first.line(), u"first"_s);
    const auto claim = [] {
        SessionBus own;
        return DBusInstance(own, identifier, {}, std::chrono::milliseconds(200)).claim();
    };
    for (const char *variable : {"DESKTOP_STARTUP_ID", "XDG_ACTIVATION_TOKEN"}) {
        EXPECT_EQ(test::Claimer(identifier, {QLatin1String(variable) + u"=token_TIME77"_s}).line(), u"handed over"_s);
        EXPECT_EQ(first.line(), u"reopen token_TIME77"_s);
    }
    ::kill(pid_t(first.pid()), SIGSTOP);
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(claim(), Instance::Role::HandedOver);
    EXPECT_LT(clock.elapsed(), 2'000);
    ::kill(pid_t(first.pid()), SIGCONT);
    EXPECT_EQ(first.line(), u"reopen"_s) << "it gets the request when it goes on";
    first.end();
    EXPECT_EQ(claim(), Instance::Role::First);
}

/// Answers as the settings portal does.
class SettingsPortal : public test::BusService {
public:
    SettingsPortal() : BusService(test::portalName, test::portalPath) {}
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        QVariant value = scheme;
        if (message.arguments().value(1).toString() == "accent-color"_L1) {
            QDBusArgument color;
            color.beginStructure();
            color << red << 0.5 << 0.0;
            color.endStructure();
            value = QVariant::fromValue(color);
        }
        const QVariant inner = QVariant::fromValue(QDBusVariant(value));
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(inner))));
    }
    void announce(const QVariant &newScheme)
    {
        scheme = newScheme;
        send(test::portalPath, u"org.freedesktop.portal.Settings"_s, u"SettingChanged"_s,
             {u"org.freedesktop.appearance"_s, u"color-scheme"_s, QVariant::fromValue(QDBusVariant(scheme))});
    }

    QVariant scheme = 1u;
    double red = 1;
};

TEST_F(BusTest, AppearanceFollowsThePortal)
{
    SettingsPortal portal;
    PortalAppearance appearance(bus);
    const auto is = [&](bool dark, const QColor &accent) {
        return becomes([&] { return appearance.isDark() == dark && appearance.accentColor() == accent; });
    };
    EXPECT_FALSE(appearance.isDark()) << "the guess, before the answer";
    EXPECT_TRUE(is(true, QColor::fromRgbF(1, 0.5, 0)));
    portal.red = -1; // out of range: no colour chosen
    portal.announce(2u);
    EXPECT_TRUE(is(false, QColor(0, 122, 255)));
    QSignalSpy changed(&appearance, &Appearance::changed);
    portal.announce(u"dark"_s); // of another type than the standard says
    EXPECT_FALSE(changed.wait(100));
}

TEST(SessionBusTest, WithoutASocketOfThisMachineServicesSayThatTheyDoNotWork)
{
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:abstract=a,guid=1;tcp:host=h,port=1;unix:path=/b");
    EXPECT_EQ(SessionBus::address(), u"unix:abstract=a,guid=1;unix:path=/b"_s);
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unixexec:path=/bin/true");
    SessionBus bus;
    DBusInstance instance(bus, identifier);
    EXPECT_EQ(instance.claim(), Instance::Role::First);
    EXPECT_EQ(instance.availability().level, Availability::Level::Not);
    EXPECT_EQ(DBusIntents(instance, identifier).availability().level, Availability::Level::Not);
    EXPECT_EQ(DBusNotifications(bus).availability().level, Availability::Level::Not);
    EXPECT_EQ(PortalAppearance(bus).availability().level, Availability::Level::Partly);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}

} // namespace
