#include "PrivateBus.h"

#include "platform/freedesktop/bus/DBusInstance.h"
#include "platform/freedesktop/bus/DBusIntents.h"
#include "platform/freedesktop/bus/DBusNotifications.h"
#include "platform/freedesktop/bus/PortalAppearance.h"
#include "platform/freedesktop/bus/PortalHotKeys.h"
#include "support/TemporaryHome.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QElapsedTimer>

#include <signal.h>

using namespace cobblet;

namespace {

const QString identifier = u"com.example.cobblet-test"_s;

class BusTest : public testing::Test {
protected:
    test::TemporaryHome home;
    test::PrivateBus privateBus;
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
    EXPECT_EQ(test::Claimer(identifier, {u"DESKTOP_STARTUP_ID=token_TIME77"_s}).line(), u"handed over"_s);
    EXPECT_EQ(first.line(), u"reopen token_TIME77"_s);
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
        return test::waitFor([&] { return appearance.isDark() == dark && appearance.accentColor() == accent; });
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

const QString interface = u"org.freedesktop.portal.GlobalShortcuts"_s;
constexpr int virtualKeys[] = {18, 19, 20, 21, 23, 22, 26, 28, 25};

QVariant objectPath(const QString &path)
{
    return QVariant::fromValue(QDBusObjectPath(path));
}

/// Answers as the portal for global shortcuts does.
class ShortcutsPortal : public test::BusService {
public:
    ShortcutsPortal() : BusService(test::portalName, path) {}
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        closes += message.member() == "Close"_L1;
        if (!known || message.interface() != interface)
            return false;
        const QVariantMap options = qdbus_cast<QVariantMap>(message.arguments().constLast());
        const QString caller = message.service().mid(1).replace(u'.', u'_');
        const QString request = path + u"/request/%1/%2"_s.arg(caller, options[u"handle_token"_s].toString());
        bus.send(message.createReply(objectPath(request)));
        QVariantList answer{createCode, QVariantMap{{u"session_handle"_s, session}}};
        if (message.member() != "CreateSession"_L1) {
            asked = qdbus_cast<QList<PortalShortcut>>(message.arguments().at(1));
            QList<PortalShortcut> given;
            for (const PortalShortcut &shortcut : asked)
                if (shortcut.first != leftOut)
                    given.append({shortcut.first, {{u"trigger_description"_s, trigger}}});
            answer = {bindCode, QVariantMap{{u"shortcuts"_s, QVariant::fromValue(given)}}};
        }
        send(request, u"org.freedesktop.portal.Request"_s, u"Response"_s, answer);
        return true;
    }
    void press(const QString &shortcut, const QString &inSession)
    {
        send(path, interface, u"Activated"_s, {objectPath(inSession), shortcut, quint64(1), QVariantMap()});
    }

    static inline const QString path = test::portalPath, session = path + u"/session/one"_s;
    bool known = true;
    uint createCode = 0, bindCode = 0;
    QString leftOut, trigger = u"Press what you like"_s;
    QList<PortalShortcut> asked;
    int closes = 0;
};

class PortalHotKeysTest : public BusTest {
protected:
    static HotKeyID id(quint32 number) { return {1, number}; }
    void registerNine(HotKeys &hotKeys)
    {
        QObject::connect(&hotKeys, &HotKeys::pressed, &hotKeys, [this](const HotKeyID &i) { pressed.append(i.id); });
        QObject::connect(&hotKeys, &HotKeys::refused, &hotKeys, [this](const HotKeyID &i) { refused.append(i.id); });
        QList<HotKey> keys;
        for (quint32 number = 1; number <= 9; ++number)
            keys.append({virtualKeys[number - 1], modifier::option | modifier::shift, id(number),
                         u"group-%1"_s.arg(number), u"Show group %1"_s.arg(number)});
        handles.clear();
        for (auto &result : hotKeys.registerAll(keys))
            if (result)
                handles.push_back(std::move(result).value());
    }
    static bool works(const HotKeys &hotKeys) { return hotKeys.availability().level == Availability::Level::Works; }

    std::vector<HotKeys::Handle> handles;
    QList<quint32> pressed, refused;
};

TEST_F(PortalHotKeysTest, BindsAllAtOnceHearsTheirPressesAndAsksAPortalThatStartsAgain)
{
    auto owned = std::make_unique<ShortcutsPortal>();
    ShortcutsPortal &portal = *owned;
    PortalHotKeys hotKeys(bus);
    registerNine(hotKeys);
    EXPECT_EQ(handles.size(), 9u);
    ASSERT_TRUE(test::waitFor([&] { return hotKeys.trigger(id(9)) == portal.trigger; }));
    ASSERT_EQ(portal.asked.size(), 9);
    EXPECT_EQ(portal.asked[0].second,
              (QVariantMap{{u"preferred_trigger"_s, u"ALT+SHIFT+1"_s}, {u"description"_s, u"Show group 1"_s}}));
    EXPECT_TRUE(works(hotKeys));

    SessionBus stranger;
    QDBusMessage forged = QDBusMessage::createSignal(portal.path, interface, u"Activated"_s);
    forged.setArguments({objectPath(portal.session), u"group-2"_s, quint64(1), QVariantMap()});
    stranger.connection().send(forged);
    portal.press(u"group-3"_s, portal.path + u"/session/other"_s);
    portal.send(portal.path, interface, u"Activated"_s, {1, 2});
    portal.press(u"group-4"_s, portal.session);
    EXPECT_TRUE(test::waitFor([&] { return pressed.contains(4); }));
    EXPECT_EQ(pressed, QList<quint32>{4});

    const QList<PortalShortcut> changed{{u"group-2"_s, {{u"trigger_description"_s, u"F9"_s}}}};
    portal.send(portal.path, interface, u"ShortcutsChanged"_s,
                {objectPath(portal.session), QVariant::fromValue(changed)});
    EXPECT_TRUE(test::waitFor([&] { return hotKeys.trigger(id(2)) == "F9"_L1; }));

    owned.reset();
    EXPECT_TRUE(test::waitFor([&] { return !works(hotKeys); }));
    ShortcutsPortal again;
    again.trigger = u"Again"_s;
    again.leftOut = u"group-5"_s;
    EXPECT_TRUE(test::waitFor([&] { return hotKeys.trigger(id(1)) == again.trigger; }));
    EXPECT_EQ(refused, QList<quint32>{5});
    handles.clear();
    EXPECT_TRUE(test::waitFor([&] { return again.closes == 1; }));
}

TEST_F(PortalHotKeysTest, EveryWayToHaveNoneIsSaid)
{
    const struct {
        const char *what;
        std::function<void(ShortcutsPortal &)> before, afterwards;
    } cases[] = {
        {"no global shortcuts", [](auto &portal) { portal.known = false; }, {}},
        {"declined", [](auto &portal) { portal.createCode = 1; }, {}},
        {"ended the request", [](auto &portal) { portal.bindCode = 2; }, {}},
        {"ended its global shortcuts", [](auto &) {},
         [](auto &portal) { portal.send(portal.session, u"org.freedesktop.portal.Session"_s, u"Closed"_s, {}); }},
    };
    for (const auto &[what, before, afterwards] : cases) {
        ShortcutsPortal portal;
        PortalHotKeys hotKeys(bus);
        before(portal);
        registerNine(hotKeys);
        if (afterwards) {
            ASSERT_TRUE(test::waitFor([&] { return !hotKeys.trigger(id(1)).isEmpty(); }));
            afterwards(portal);
        }
        EXPECT_TRUE(test::waitFor([&, what = QLatin1String(what)] {
            return hotKeys.availability().sentence.contains(what);
        })) << what;
        EXPECT_FALSE(works(hotKeys)) << what;
        EXPECT_EQ(std::exchange(refused, {}), (QList<quint32>{1, 2, 3, 4, 5, 6, 7, 8, 9})) << what;
        portal.press(u"group-1"_s, portal.session);
    }
    EXPECT_TRUE(pressed.isEmpty());
}

} // namespace
