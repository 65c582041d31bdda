#include "platform/freedesktop/bus/SessionBus.h"
#include "platform/freedesktop/TrayWatcher.h"
#include "platform/freedesktop/XEmbedIcon.h"

#include "platform/PrivateBus.h"
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

class TrayTest : public test::PrivateBusTest {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_session.isReady());
        m_x11 = X11Connection::open();
        ASSERT_TRUE(m_x11);
    }

    test::XSession m_session;
    std::unique_ptr<X11Connection> m_x11;
};

/// Trays that come, go and take turns are tests/desktop/test_status_item.py's; here is what no real tray does on
/// demand.
TEST_F(TrayTest, AWatcherIsATrayOnceItHasAHostAndAnotherOwnerIsAnotherTray)
{
    using enum Tray::Kind;
    SessionBus bus;
    auto xembed = std::make_unique<FakeTray>();
    FakeWatcher first(false);
    TrayWatcher trays(m_x11.get(), bus);
    EXPECT_EQ(trays.tray(), Tray());
    ASSERT_TRUE(QSignalSpy(&trays, &TrayWatcher::changed).wait(10'000));
    const auto becomes = [&](Tray::Kind kind) {
        return settles([&] { return trays.tray().kind == kind; }) && trays.tray().owner.isEmpty() == (kind == XEmbed);
    };
    EXPECT_TRUE(becomes(XEmbed));
    EXPECT_EQ(trays.tray().window, xembed->window());
    first.setHost(true);
    EXPECT_TRUE(becomes(StatusNotifier));
    first.setHost(false);
    EXPECT_TRUE(becomes(XEmbed));
    xembed.reset();
    EXPECT_TRUE(becomes(StatusNotifier)) << "better than none";

    // The first one owns the name; it goes to the next in the queue without being free in between.
    SessionBus other;
    QDBusMessage queue = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("RequestName"));
    queue.setArguments({watcherName, 0u});
    ASSERT_EQ(other.connection().call(queue).arguments().value(0).toUInt(), 2u) << "in the queue";
    first.release();
    EXPECT_TRUE(settles([&] { return trays.tray().owner == other.connection().baseService(); }));
}

TEST_F(TrayTest, TheIconIsDockedOnceAndCanBeReadOnItsBackground)
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

        EXPECT_EQ(tray.docked().size(), 1u);
        icon.reset();
        EXPECT_TRUE(settles([&] { return !tray.pixel(window, 15, 16); })) << "gone with the object";
    }
}

} // namespace
