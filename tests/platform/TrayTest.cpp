#include "platform/freedesktop/SessionBus.h"
#include "platform/freedesktop/TrayWatcher.h"
#include "platform/freedesktop/XEmbedIcon.h"

#include "platform/XSession.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include <xcb/composite.h>

using namespace cobblet;

namespace {

const QString watcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

bool settles(const std::function<bool()> &condition)
{
    return QTest::qWaitFor(condition, 10'000);
}

/// A status notifier's watcher, with somebody who shows the items or without.
class FakeWatcher : public QDBusVirtualObject {
public:
    explicit FakeWatcher(bool hasHost) : m_hasHost(hasHost)
    {
        m_bus.connection().registerVirtualObject(watcherPath, this);
        m_bus.connection().registerService(watcherName);
    }
    void setHost(bool hasHost)
    {
        m_hasHost = hasHost;
        m_bus.connection().send(QDBusMessage::createSignal(watcherPath, watcherName,
                                                           hasHost
                                                               ? QStringLiteral("StatusNotifierHostRegistered")
                                                               : QStringLiteral("StatusNotifierHostUnregistered")));
    }
    void release() { m_bus.connection().unregisterService(watcherName); }
    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &connection) override
    {
        return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(m_hasHost))));
    }

private:
    SessionBus m_bus;
    bool m_hasHost;
};

/// An XEmbed tray of one place, which ends with its connection to the server.
class FakeTray {
public:
    explicit FakeTray(uint32_t background = 0, bool blends = false, std::vector<uint32_t> colors = {})
        : m_xcb(xcb_connect(nullptr, nullptr)), m_screen(xcb_setup_roots_iterator(xcb_get_setup(m_xcb)).data)
    {
        m_window = xcb_generate_id(m_xcb);
        const uint32_t values[] = {background, 1};
        xcb_create_window(m_xcb, XCB_COPY_FROM_PARENT, m_window, m_screen->root, 300, 200, 60, 60, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(m_xcb, m_window);
        for (auto depths = xcb_screen_allowed_depths_iterator(m_screen); blends && depths.rem > 0;
             xcb_depth_next(&depths))
            if (depths.data->depth == 32)
                set("_NET_SYSTEM_TRAY_VISUAL", XCB_ATOM_VISUALID, {xcb_depth_visuals(depths.data)->visual_id});
        if (blends) { // the icon then is off the screen, for the tray to draw
            std::free(xcb_composite_query_version_reply(m_xcb, xcb_composite_query_version(m_xcb, 0, 4), nullptr));
            xcb_composite_redirect_subwindows(m_xcb, m_window, XCB_COMPOSITE_REDIRECT_MANUAL);
        }
        if (!colors.empty())
            set("_NET_SYSTEM_TRAY_COLORS", XCB_ATOM_CARDINAL, colors);
        xcb_set_selection_owner(m_xcb, m_window, atom("_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
        xcb_client_message_event_t manager = message("MANAGER", m_screen->root);
        manager.data.data32[1] = atom("_NET_SYSTEM_TRAY_S0");
        manager.data.data32[2] = m_window;
        xcb_send_event(m_xcb, 0, m_screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&manager));
        sync();
    }
    ~FakeTray() { xcb_disconnect(m_xcb); }
    FakeTray(const FakeTray &) = delete;

    xcb_window_t window() const { return m_window; }

    /// Takes in what asks for it; the windows that did so far.
    const std::vector<xcb_window_t> &docked()
    {
        while (xcb_generic_event_t *event = xcb_poll_for_event(m_xcb)) {
            const auto *asked = reinterpret_cast<const xcb_client_message_event_t *>(event);
            if ((event->response_type & 0x7f) == XCB_CLIENT_MESSAGE &&
                asked->type == atom("_NET_SYSTEM_TRAY_OPCODE") && asked->data.data32[1] == 0) {
                const xcb_window_t icon = asked->data.data32[2];
                xcb_change_save_set(m_xcb, XCB_SET_MODE_INSERT, icon);
                xcb_reparent_window(m_xcb, icon, m_window, 10, 10);
                const uint32_t size[] = {30, 32};
                xcb_configure_window(m_xcb, icon, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size);
                xcb_map_window(m_xcb, icon);
                m_docked.push_back(icon);
            }
            std::free(event);
        }
        sync();
        return m_docked;
    }

    /// What a window holds at a point, as 0xAARRGGBB.
    std::optional<uint32_t> pixel(xcb_window_t window, int16_t x, int16_t y)
    {
        const std::unique_ptr<xcb_get_image_reply_t, decltype(&std::free)> reply(
            xcb_get_image_reply(m_xcb, xcb_get_image(m_xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, window, x, y, 1, 1, ~0u),
                                nullptr),
            &std::free);
        if (!reply)
            return std::nullopt;
        uint32_t value = 0;
        std::memcpy(&value, xcb_get_image_data(reply.get()), 4);
        return value;
    }

    void press(xcb_window_t icon)
    {
        xcb_button_press_event_t press{};
        press.response_type = XCB_BUTTON_PRESS;
        press.detail = 1;
        press.event = icon;
        press.root = m_screen->root;
        press.root_x = 325;
        press.root_y = 224;
        press.event_x = 15;
        press.event_y = 14;
        xcb_send_event(m_xcb, 0, icon, XCB_EVENT_MASK_BUTTON_PRESS, reinterpret_cast<const char *>(&press));
        sync();
    }

private:
    xcb_atom_t atom(const char *name)
    {
        xcb_intern_atom_reply_t *reply =
            xcb_intern_atom_reply(m_xcb, xcb_intern_atom(m_xcb, 0, uint16_t(std::strlen(name)), name), nullptr);
        const xcb_atom_t found = reply->atom;
        std::free(reply);
        return found;
    }
    xcb_client_message_event_t message(const char *type, xcb_window_t window)
    {
        xcb_client_message_event_t made{};
        made.response_type = XCB_CLIENT_MESSAGE;
        made.format = 32;
        made.window = window;
        made.type = atom(type);
        return made;
    }
    void set(const char *name, xcb_atom_t type, const std::vector<uint32_t> &values)
    {
        xcb_change_property(m_xcb, XCB_PROP_MODE_REPLACE, m_window, atom(name), type, 32, uint32_t(values.size()),
                            values.data());
    }
    void sync() { std::free(xcb_get_input_focus_reply(m_xcb, xcb_get_input_focus(m_xcb), nullptr)); }

    xcb_connection_t *m_xcb;
    xcb_screen_t *m_screen;
    xcb_window_t m_window;
    std::vector<xcb_window_t> m_docked;
};

class TrayTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_session.isReady());
        m_daemon.start(QStringLiteral("dbus-daemon"),
                       {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address")});
        ASSERT_TRUE(m_daemon.waitForReadyRead(10'000)) << "dbus-daemon does not start";
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_daemon.readLine().trimmed());
        m_x11 = X11Connection::open();
        ASSERT_TRUE(m_x11);
    }
    void TearDown() override
    {
        m_x11.reset();
        m_daemon.kill();
        m_daemon.waitForFinished();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

    test::XSession m_session;
    QProcess m_daemon;
    std::unique_ptr<X11Connection> m_x11;
};

TEST_F(TrayTest, FindsTheTrayInWhicheverOrderTraysComeAndGo)
{
    enum Step { Xembed, NoXembed, Watcher, NoWatcher, BareWatcher, Host, NoHost };
    using enum Tray::Kind;
    const std::vector<std::vector<std::pair<Step, Tray::Kind>>> orders = {
        {{Watcher, StatusNotifier}, {NoWatcher, None}, {Watcher, StatusNotifier}, {NoWatcher, None}},
        {{Xembed, XEmbed}, {NoXembed, None}, {Xembed, XEmbed}, {Watcher, StatusNotifier}, {NoXembed, StatusNotifier}},
        {{Watcher, StatusNotifier}, {Xembed, StatusNotifier}, {NoWatcher, XEmbed}, {Watcher, StatusNotifier}},
        {{Xembed, XEmbed},
         {BareWatcher, XEmbed},
         {Host, StatusNotifier},
         {NoHost, XEmbed},
         {NoXembed, StatusNotifier}},
    };
    for (size_t order = 0; order < orders.size(); ++order)
        for (const bool fromTheStart : {false, true}) {
            SCOPED_TRACE(testing::Message() << "order " << order << (fromTheStart ? " from the start" : ""));
            std::unique_ptr<FakeWatcher> notifier;
            std::unique_ptr<FakeTray> xembed;
            SessionBus bus;
            std::unique_ptr<TrayWatcher> trays;
            const auto watch = [&] {
                trays = std::make_unique<TrayWatcher>(m_x11.get(), bus);
                EXPECT_TRUE(QSignalSpy(trays.get(), &TrayWatcher::changed).wait(10'000)) << "it says what it found";
            };
            if (!fromTheStart) {
                watch();
                EXPECT_EQ(trays->tray(), Tray());
            }
            for (const auto &[step, kind] : orders[order]) {
                switch (step) {
                case Xembed:
                    xembed = std::make_unique<FakeTray>();
                    break;
                case NoXembed:
                    xembed.reset();
                    break;
                case Watcher:
                    notifier = std::make_unique<FakeWatcher>(true);
                    break;
                case BareWatcher:
                    notifier = std::make_unique<FakeWatcher>(false);
                    break;
                case NoWatcher:
                    notifier.reset();
                    break;
                case Host:
                    notifier->setHost(true);
                    break;
                case NoHost:
                    notifier->setHost(false);
                    break;
                }
                if (!trays)
                    watch();
                EXPECT_TRUE(settles([&, kind = kind] { return trays->tray().kind == kind; }))
                    << "after step " << step;
                EXPECT_EQ(trays->tray().window, kind == XEmbed ? xembed->window() : xcb_window_t(XCB_WINDOW_NONE));
                EXPECT_EQ(trays->tray().owner.isEmpty(), kind != StatusNotifier);
            }
        }
}

TEST_F(TrayTest, AWatcherThatIsReplacedIsAnotherTray)
{
    SessionBus bus;
    FakeWatcher first(true);
    TrayWatcher trays(m_x11.get(), bus);
    QSignalSpy changed(&trays, &TrayWatcher::changed);
    ASSERT_TRUE(changed.wait(10'000));
    const QString owner = trays.tray().owner;
    SessionBus other;
    ASSERT_TRUE(other.connection().isConnected());
    // The first one owns the name; it goes to the next in the queue without being free in between.
    QDBusMessage queue = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
    queue.setArguments({watcherName, 0u});
    ASSERT_EQ(other.connection().call(queue).arguments().value(0).toUInt(), 2u) << "in the queue";
    first.release();
    EXPECT_TRUE(settles([&] { return trays.tray().owner == other.connection().baseService(); }));
    EXPECT_NE(trays.tray().owner, owner);
}

TEST_F(TrayTest, TheIconIsDockedOnceAndReadOnItsBackground)
{
    constexpr uint32_t light = 0xE8E8E8, dark = 0x1F242C, blue = 0x2040C0;
    const struct {
        const char *name;
        uint32_t background;
        bool blends;
        std::vector<uint32_t> colors;
        bool darkDesktop;
        uint32_t expected; // in the middle
    } cases[] = {
        {"dark bar of a light desktop", dark, false, {}, false, 0xF2F2F2},
        {"light bar of a dark desktop", light, false, {}, true, 0x222222},
        {"dark bar that blends", dark, true, {}, false, 0xF2F2F2},
        {"light bar that blends", light, true, {}, true, 0x222222},
        {"a colour of the bar's own", light, false, std::vector<uint32_t>(12, 0x8080), false, 0x808080},
        {"half a colour", blue, false, {0xFFFF}, false, 0xF2F2F2},
    };
    const auto picture = [](const QColor &color, double points, qreal ratio) {
        QImage image(QSize(1, 1) * qRound(points * ratio), QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter(&image).fillRect(image.rect().adjusted(6, 6, -6, -6), color);
        return image;
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        FakeTray tray(c.background, c.blends, c.colors);
        auto icon = std::make_unique<XEmbedIcon>(*m_x11, tray.window(), picture, QStringLiteral("Cobblet"), qreal(1));
        icon->setDarkDesktop(c.darkDesktop);
        ASSERT_TRUE(settles([&] { return tray.docked().size() == 1; }));
        const xcb_window_t window = tray.docked()[0];
        EXPECT_TRUE(settles([&] { return (tray.pixel(window, 15, 16).value_or(1) & 0xFFFFFF) == c.expected; }));
        EXPECT_EQ(tray.pixel(window, 1, 1), c.blends ? 0u : c.background) << "beside the picture";

        QSignalSpy pressed(icon.get(), &XEmbedIcon::pressed);
        tray.press(window);
        ASSERT_TRUE(pressed.wait(10'000));
        EXPECT_EQ(pressed[0][0].toRect(), QRect(310, 210, 30, 32));
        EXPECT_EQ(tray.docked().size(), 1u);
        icon.reset();
        EXPECT_TRUE(settles([&] { return !tray.pixel(window, 15, 16); })) << "gone with the object";
    }
}

TEST_F(TrayTest, AnIconThatOutlivesItsTrayIsNotLeftOnTheScreen)
{
    auto tray = std::make_unique<FakeTray>();
    const auto picture = [](const QColor &, double, qreal) { return QImage(); };
    const XEmbedIcon icon(*m_x11, tray->window(), picture, QStringLiteral("Cobblet"), 1);
    ASSERT_TRUE(settles([&] { return tray->docked().size() == 1; }));
    const xcb_window_t window = tray->docked()[0];
    tray.reset();
    EXPECT_TRUE(settles([&] {
        const std::unique_ptr<xcb_get_window_attributes_reply_t, decltype(&std::free)> reply(
            xcb_get_window_attributes_reply(m_session.xcb(), xcb_get_window_attributes(m_session.xcb(), window),
                                            nullptr),
            &std::free);
        return !reply || reply->map_state == XCB_MAP_STATE_UNMAPPED;
    }));
}

} // namespace
