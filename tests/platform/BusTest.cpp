#include "PrivateBus.h"

#include "platform/freedesktop/bus/BusNames.h"
#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/DBusIntents.h"
#include "platform/freedesktop/bus/DBusNotifications.h"
#include "platform/freedesktop/bus/PortalAppearance.h"
#include "support/TemporaryHome.h"

#include <QDBusArgument>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>

#include <signal.h>

using namespace cobblet;
using namespace Qt::StringLiterals;

namespace {

const QString identifier = u"com.example.cobblet-test"_s;

class BusTest : public test::PrivateBusTest {
protected:
    test::TemporaryHome home;
    SessionBus bus, other;
};

TEST_F(BusTest, ALaterStartReachesTheFirstOneWithItsToken)
{
    DBusInstance first(bus, identifier);
    QSignalSpy reopened(&first, &Instance::reopen);
    ASSERT_EQ(first.claim(), Instance::Role::First);
    EXPECT_EQ(reopened.size(), 0);
    const std::pair<QString, QString> starts[] = {// environment and token
                                                  {u"DESKTOP_STARTUP_ID=launch-1_TIME77"_s, u"launch-1_TIME77"_s},
                                                  {u"XDG_ACTIVATION_TOKEN=token"_s, u"token"_s},
                                                  {u"A=b"_s, {}}};
    for (const auto &[environment, token] : starts) {
        EXPECT_EQ(test::Claimer(identifier, {environment}).line(), u"handed over"_s);
        EXPECT_EQ(reopened.takeFirst().at(0).toString(), token);
    }
}

TEST_F(BusTest, AFirstInstanceThatHangsIsNotWaitedForLongAndWhenItEndsTheNameIsFree)
{
    test::Claimer first(identifier);
    ASSERT_EQ(first.line(), u"first"_s);
    const auto claim = [] {
        SessionBus own;
        return DBusInstance(own, identifier, {}, std::chrono::milliseconds(200)).claim();
    };
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

TEST_F(BusTest, AnApplicationWithoutRequestsTakesActionsAndNoAddresses)
{
    DBusInstance instance(bus, identifier, {.action = [](const QString &action) { return action == "known"_L1; }});
    ASSERT_EQ(instance.claim(), Instance::Role::First);
    const std::tuple<QString, QVariantList, bool> calls[] = {
        {u"Open"_s, {QStringList{u"x:y"_s}}, false}, {u"ActivateAction"_s, {u"known"_s, QVariantList()}, true}};
    for (const auto &[method, arguments, done] : calls) {
        QDBusMessage call = QDBusMessage::createMethodCall(identifier, busPathOf(identifier),
                                                           u"org.freedesktop.Application"_s, method);
        call.setArguments(arguments + QVariantList{QVariantMap()});
        const QDBusPendingCall pending = other.connection().asyncCall(call);
        EXPECT_TRUE(becomes([&] { return pending.isFinished(); }));
        EXPECT_EQ(!pending.isError(), done) << qPrintable(method);
    }
}

TEST_F(BusTest, NotificationsReachEveryProcessTheSenderIncluded)
{
    DBusNotifications one(bus), two(other);
    QSignalSpy byOne(&one, &DistributedNotifications::received), byTwo(&two, &DistributedNotifications::received);
    ASSERT_TRUE(one.post(u"com.cobblet.repaintTile"_s, u"ID"_s));
    ASSERT_TRUE(becomes([&] { return byOne.size() == 1 && byTwo.size() == 1; }));
    EXPECT_EQ(byOne[0], (QVariantList{u"com.cobblet.repaintTile"_s, u"ID"_s}));
    EXPECT_EQ(byTwo[0], byOne[0]);
    EXPECT_FALSE(one.post(u"name"_s, QString(5'000, u'x')));
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
    portal.announce(1u);
    EXPECT_TRUE(is(true, QColor(0, 122, 255)));
    QSignalSpy changed(&appearance, &Appearance::changed);
    portal.announce(u"dark"_s); // of another type than the standard says
    EXPECT_FALSE(changed.wait(100));
}

TEST_F(BusTest, WithoutAPortalTheToolkitsSettingsDecide)
{
    QDir().mkpath(home.path(u".config/gtk-3.0"_s));
    QFile settings(home.path(u".config/gtk-3.0/settings.ini"_s));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    settings.write("[Settings]\ngtk-application-prefer-dark-theme = true\n");
    const PortalAppearance appearance(bus);
    EXPECT_TRUE(becomes([&] { return appearance.isDark(); }));
}

TEST(BusNamesTest, IdentifiersBecomeNamesAndPaths)
{
    const struct {
        const char *identifier, *name, *path;
        bool isName;
    } cases[] = {
        {"org.gnome.Text-Editor", "org.gnome.Text-Editor", "/org/gnome/Text_Editor", true},
        {"com.agent.8F-1.9", "com.agent._8F-1._9", "/com/agent/8F_1/9", false},
        {"plain", "plain", "/plain", false},
        {"a..b", "a..b", "/a//b", false},
    };
    for (const auto &each : cases) {
        const QString identifier = QLatin1String(each.identifier);
        EXPECT_EQ(busName(identifier), QLatin1String(each.name));
        EXPECT_EQ(busPathOf(identifier), QLatin1String(each.path));
        EXPECT_EQ(isBusName(identifier), each.isName) << each.identifier;
    }
    EXPECT_FALSE(isBusName(u"a.ü"_s));
}

TEST(SessionBusTest, WithoutASocketOfThisMachineServicesSayThatTheyDoNotWork)
{
    const std::pair<const char *, const char *> cases[] = {
        // what is stated, and what of it is used
        {"unix:abstract=a,guid=1;tcp:host=h,port=1;unix:path=/b", "unix:abstract=a,guid=1;unix:path=/b"},
        {"unixexec:path=/bin/true", ""},
        {"autolaunch:", ""},
    };
    for (const auto &[stated, address] : cases) {
        qputenv("DBUS_SESSION_BUS_ADDRESS", stated);
        EXPECT_EQ(SessionBus::address(), QLatin1String(address)) << stated;
    }
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
