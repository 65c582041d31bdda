#include "platform/freedesktop/bus/PortalHotKeys.h"
#include "platform/freedesktop/bus/SessionBus.h"

#include "platform/PrivateBus.h"

#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QTest>

#include <gtest/gtest.h>

using namespace cobblet;

namespace {

const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString portalInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

constexpr int virtualKeys[] = {18, 19, 20, 21, 23, 22, 26, 28, 25};

/// Answers as the portal for global shortcuts does, on a bus connection of its own.
class FakePortal : public QDBusVirtualObject {
public:
    FakePortal()
    {
        m_bus.connection().registerVirtualObject(portalPath, this, QDBusConnection::SubPath);
        m_bus.connection().registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        if (message.member() == QLatin1String("Close"))
            ++closes;
        if (!known || message.interface() != portalInterface)
            return false;
        const QVariantMap options = qdbus_cast<QVariantMap>(message.arguments().constLast());
        const QString token = options[QStringLiteral("handle_token")].toString();
        const QString caller = message.service().mid(1).replace(QLatin1Char('.'), QLatin1Char('_'));
        const QString request = portalPath + QStringLiteral("/request/%1/%2").arg(caller, token);
        bus.send(message.createReply(QVariant::fromValue(QDBusObjectPath(request))));
        QDBusMessage response = QDBusMessage::createSignal(request, QStringLiteral("org.freedesktop.portal.Request"),
                                                           QStringLiteral("Response"));
        if (message.member() == QLatin1String("CreateSession")) {
            ++sessions;
            response.setArguments({createCode, QVariantMap{{QStringLiteral("session_handle"), session()}}});
        } else {
            asked = qdbus_cast<QList<PortalShortcut>>(message.arguments().at(1));
            QList<PortalShortcut> given;
            for (const PortalShortcut &shortcut : asked)
                if (shortcut.first != leftOut)
                    given.append({shortcut.first, {{QStringLiteral("trigger_description"), trigger}}});
            response.setArguments({bindCode, QVariantMap{{QStringLiteral("shortcuts"), QVariant::fromValue(given)}}});
        }
        return bus.send(response);
    }
    static QString session() { return portalPath + QStringLiteral("/session/one"); }
    void press(const QString &shortcut, const QString &inSession = session())
    {
        send(portalPath, portalInterface, QStringLiteral("Activated"),
             {QVariant::fromValue(QDBusObjectPath(inSession)), shortcut, quint64(1), QVariantMap()});
    }
    void send(const QString &path, const QString &interface, const QString &member, const QVariantList &arguments)
    {
        QDBusMessage signal = QDBusMessage::createSignal(path, interface, member);
        signal.setArguments(arguments);
        m_bus.connection().send(signal);
    }

    bool known = true;
    uint createCode = 0;
    uint bindCode = 0;
    QString leftOut;
    QString trigger = QStringLiteral("Press what you like");
    QList<PortalShortcut> asked;
    int sessions = 0;
    int closes = 0;

private:
    SessionBus m_bus;
};

class PortalHotKeysTest : public test::PrivateBusTest {
protected:
    static HotKeyID id(quint32 number) { return {1, number}; }
    /// How many handles it gives.
    size_t registerNine(HotKeys &hotKeys)
    {
        QObject::connect(&hotKeys, &HotKeys::pressed, &hotKeys,
                         [this](const HotKeyID &i) { m_pressed.append(i.id); });
        QObject::connect(&hotKeys, &HotKeys::refused, &hotKeys,
                         [this](const HotKeyID &i) { m_refused.append(i.id); });
        QList<HotKey> keys;
        for (quint32 number = 1; number <= 9; ++number)
            keys.append({virtualKeys[number - 1], modifier::option | modifier::shift, id(number),
                         QStringLiteral("group-%1").arg(number), QStringLiteral("Show group %1").arg(number)});
        for (auto &result : hotKeys.registerAll(keys))
            if (result)
                m_handles.push_back(std::move(result).value());
        return m_handles.size();
    }
    static bool becomes(const std::function<bool()> &condition) { return QTest::qWaitFor(condition, 10'000); }
    static bool works(const HotKeys &hotKeys) { return hotKeys.availability().level == Availability::Level::Works; }

    std::vector<HotKeys::Handle> m_handles;
    QList<quint32> m_pressed, m_refused;
    const QList<quint32> all{1, 2, 3, 4, 5, 6, 7, 8, 9};
};

TEST_F(PortalHotKeysTest, BindsAllAtOnceAndHearsTheirPresses)
{
    FakePortal portal;
    SessionBus bus;
    PortalHotKeys hotKeys(bus);
    EXPECT_EQ(registerNine(hotKeys), 9u);
    ASSERT_TRUE(becomes([&] { return hotKeys.trigger(id(9)) == portal.trigger; }));
    ASSERT_EQ(portal.asked.size(), 9);
    EXPECT_EQ(portal.asked[0].first, QStringLiteral("group-1"));
    EXPECT_EQ(portal.asked[0].second[QStringLiteral("preferred_trigger")].toString(), QStringLiteral("ALT+SHIFT+1"));
    EXPECT_EQ(portal.asked[0].second[QStringLiteral("description")].toString(), QStringLiteral("Show group 1"));
    EXPECT_EQ(hotKeys.availability(), Availability::works());

    SessionBus stranger;
    QDBusMessage forged = QDBusMessage::createSignal(portalPath, portalInterface, QStringLiteral("Activated"));
    forged.setArguments({QVariant::fromValue(QDBusObjectPath(portal.session())), QStringLiteral("group-2"),
                         quint64(1), QVariantMap()});
    stranger.connection().send(forged);
    portal.press(QStringLiteral("group-3"), portalPath + QStringLiteral("/session/other"));
    portal.press(QStringLiteral("group-10"));
    portal.send(portalPath, portalInterface, QStringLiteral("Activated"), {1, 2});
    portal.press(QStringLiteral("group-4"));
    EXPECT_TRUE(becomes([&] { return m_pressed.contains(4); }));
    EXPECT_EQ(std::exchange(m_pressed, {}), QList<quint32>{4});

    portal.send(portalPath, portalInterface, QStringLiteral("ShortcutsChanged"),
                {QVariant::fromValue(QDBusObjectPath(portal.session())),
                 QVariant::fromValue(QList<PortalShortcut>{
                     {QStringLiteral("group-2"), {{QStringLiteral("trigger_description"), QStringLiteral("F9")}}}})});
    EXPECT_TRUE(becomes([&] { return hotKeys.trigger(id(2)) == QLatin1String("F9"); }));
    m_handles.clear();
    EXPECT_TRUE(becomes([&] { return portal.closes == 1; }));
    EXPECT_TRUE(m_refused.isEmpty());
}

TEST_F(PortalHotKeysTest, EveryWayToHaveNoneIsSaid)
{
    const std::pair<const char *, std::function<void(FakePortal &)>> cases[] = {
        {"no global shortcuts", [](FakePortal &p) { p.known = false; }},
        {"declined", [](FakePortal &p) { p.createCode = 1; }},
        {"ended the request", [](FakePortal &p) { p.bindCode = 2; }},
        {"ended its global shortcuts",
         [](FakePortal &p) {
             p.send(p.session(), QStringLiteral("org.freedesktop.portal.Session"), QStringLiteral("Closed"), {});
         }},
    };
    for (const auto &[what, arrange] : cases) {
        FakePortal portal;
        SessionBus bus;
        PortalHotKeys hotKeys(bus);
        const bool bindsFirst = QLatin1String(what) == QLatin1String("ended its global shortcuts");
        if (!bindsFirst)
            arrange(portal);
        m_handles.clear();
        registerNine(hotKeys);
        if (bindsFirst) {
            ASSERT_TRUE(becomes([&] { return !hotKeys.trigger(id(1)).isEmpty(); }));
            arrange(portal);
        }
        EXPECT_TRUE(becomes([&] { return !works(hotKeys); })) << what;
        EXPECT_TRUE(hotKeys.availability().sentence.contains(QLatin1String(what)))
            << hotKeys.availability().sentence.toStdString();
        EXPECT_EQ(std::exchange(m_refused, {}), all) << what;
        portal.press(QStringLiteral("group-1"));
    }
    SessionBus bus;
    PortalHotKeys alone(bus); // nobody has the portal's name
    m_handles.clear();
    registerNine(alone);
    EXPECT_TRUE(becomes([&] { return !works(alone); }));
    EXPECT_TRUE(m_pressed.isEmpty());

    qputenv("DBUS_SESSION_BUS_ADDRESS", "autolaunch:");
    SessionBus none;
    PortalHotKeys withoutBus(none);
    m_handles.clear();
    EXPECT_EQ(registerNine(withoutBus), 0u);
    EXPECT_FALSE(works(withoutBus));
}

TEST_F(PortalHotKeysTest, APortalThatStartsAgainIsAskedAgainAndWhatItLeavesOutIsRefused)
{
    SessionBus bus;
    PortalHotKeys hotKeys(bus);
    auto portal = std::make_unique<FakePortal>();
    registerNine(hotKeys);
    ASSERT_TRUE(becomes([&] { return !hotKeys.trigger(id(1)).isEmpty(); }));
    portal.reset();
    EXPECT_TRUE(becomes([&] { return !works(hotKeys); }));
    portal = std::make_unique<FakePortal>();
    portal->trigger = QStringLiteral("Again");
    portal->leftOut = QStringLiteral("group-5");
    EXPECT_TRUE(becomes([&] { return hotKeys.trigger(id(1)) == QLatin1String("Again"); }));
    EXPECT_EQ(hotKeys.availability(), Availability::works());
    portal->press(QStringLiteral("group-1"));
    EXPECT_TRUE(becomes([&] { return m_pressed == QList<quint32>{1}; }));
    EXPECT_EQ(m_refused, QList<quint32>{5});
}

} // namespace
