#include "platform/freedesktop/bus/PortalHotKeys.h"

#include "platform/PrivateBus.h"

#include <QDBusObjectPath>

using namespace cobblet;

namespace {

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

class PortalHotKeysTest : public test::PrivateBusTest {
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

    SessionBus bus;
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
    ASSERT_TRUE(becomes([&] { return hotKeys.trigger(id(9)) == portal.trigger; }));
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
    EXPECT_TRUE(becomes([&] { return pressed.contains(4); }));
    EXPECT_EQ(pressed, QList<quint32>{4});

    const QList<PortalShortcut> changed{{u"group-2"_s, {{u"trigger_description"_s, u"F9"_s}}}};
    portal.send(portal.path, interface, u"ShortcutsChanged"_s,
                {objectPath(portal.session), QVariant::fromValue(changed)});
    EXPECT_TRUE(becomes([&] { return hotKeys.trigger(id(2)) == "F9"_L1; }));

    owned.reset();
    EXPECT_TRUE(becomes([&] { return !works(hotKeys); }));
    ShortcutsPortal again;
    again.trigger = u"Again"_s;
    again.leftOut = u"group-5"_s;
    EXPECT_TRUE(becomes([&] { return hotKeys.trigger(id(1)) == again.trigger; }));
    EXPECT_EQ(refused, QList<quint32>{5});
    handles.clear();
    EXPECT_TRUE(becomes([&] { return again.closes == 1; }));
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
            ASSERT_TRUE(becomes([&] { return !hotKeys.trigger(id(1)).isEmpty(); }));
            afterwards(portal);
        }
        EXPECT_TRUE(becomes([&, what = QLatin1String(what)] {
            return hotKeys.availability().sentence.contains(what);
        })) << what;
        EXPECT_FALSE(works(hotKeys)) << what;
        EXPECT_EQ(std::exchange(refused, {}), (QList<quint32>{1, 2, 3, 4, 5, 6, 7, 8, 9})) << what;
        portal.press(u"group-1"_s, portal.session);
    }
    EXPECT_TRUE(pressed.isEmpty());
}

} // namespace
