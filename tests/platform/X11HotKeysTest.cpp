#include "platform/freedesktop/X11HotKeys.h"

#include "platform/XSession.h"

#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>

#include <xcb/xtest.h>

using namespace cobblet;

namespace {

// Places of keys on every keyboard of the virtual server; what they type is up to the layout.
constexpr uint8_t digit1 = 10, shift = 50, alt = 64, control = 37, capsLock = 66, numLock = 77, menu = 135;
constexpr int virtualKeys[] = {18, 19, 20, 21, 23, 22, 26, 28, 25};

QList<HotKey> nine()
{
    QList<HotKey> keys;
    for (quint32 id = 1; id <= 9; ++id)
        keys.append({virtualKeys[id - 1], modifier::option | modifier::shift, HotKeyID{1, id}, {}, {}});
    return keys;
}

class X11HotKeysTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_session.isReady());
        m_x11 = X11Connection::open();
        ASSERT_TRUE(m_x11);
        m_windows = std::make_unique<X11Windows>(*m_x11);
        ASSERT_TRUE(run(QStringLiteral("setxkbmap"), {QStringLiteral("us")}));
    }

    static bool run(const QString &program, const QStringList &arguments, const QByteArray &input = {})
    {
        QProcess process;
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(program, arguments);
        process.write(input);
        process.closeWriteChannel();
        return process.waitForFinished(20'000) && process.exitCode() == 0;
    }

    /// The ids whose combination was refused.
    QList<quint32> registerNine()
    {
        m_hotKeys = std::make_unique<X11HotKeys>(*m_windows);
        QObject::connect(m_hotKeys.get(), &HotKeys::pressed, m_hotKeys.get(),
                         [this](const HotKeyID &id) { m_pressed.append(id.id); });
        QList<quint32> refused;
        std::vector<Result<HotKeys::Handle>> results = m_hotKeys->registerAll(nine());
        for (quint32 id = 1; id <= 9; ++id) {
            Result<HotKeys::Handle> &result = results[id - 1];
            if (result)
                m_handles.push_back(std::move(result).value());
            else
                refused.append(id);
        }
        return refused;
    }

    void fake(uint8_t type, const std::vector<uint8_t> &codes)
    {
        for (const uint8_t code : codes)
            xcb_test_fake_input(m_session.xcb(), type, code, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
        xcb_flush(m_session.xcb());
    }
    void tapWith(const std::vector<uint8_t> &modifiers, const std::vector<uint8_t> &codes)
    {
        fake(XCB_KEY_PRESS, modifiers);
        for (const uint8_t code : codes) {
            fake(XCB_KEY_PRESS, {code});
            fake(XCB_KEY_RELEASE, {code});
        }
        fake(XCB_KEY_RELEASE, modifiers);
    }
    void tap(uint8_t code) { tapWith({}, {code}); }
    void tapDigits() { tapWith({alt, shift}, {10, 11, 12, 13, 14, 15, 16, 17, 18}); }

    /// What was pressed since the last look, once as many as expected have come and no more are on their way.
    QList<quint32> pressed(qsizetype count)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return m_pressed.size() >= count; }, 10'000));
        // Whatever the test did before was dealt with when the server answers; its events come before this one.
        const xcb_atom_t mark = m_session.atom("TEST_MARK");
        bool marked = false;
        m_x11->select(m_x11->root(), XCB_EVENT_MASK_PROPERTY_CHANGE);
        const auto watching =
            QObject::connect(m_x11.get(), &X11Connection::eventArrived, m_x11.get(),
                             [&marked, mark](const xcb_generic_event_t *event) {
                                 const auto *p = reinterpret_cast<const xcb_property_notify_event_t *>(event);
                                 marked |= (p->response_type & 0x7f) == XCB_PROPERTY_NOTIFY && p->atom == mark;
                             });
        xcb_change_property(m_x11->xcb(), XCB_PROP_MODE_REPLACE, m_x11->root(), mark, XCB_ATOM_CARDINAL, 32, 0,
                            nullptr);
        m_x11->flush();
        EXPECT_TRUE(QTest::qWaitFor([&] { return marked; }, 10'000));
        QObject::disconnect(watching);
        return std::exchange(m_pressed, {});
    }
    const QList<quint32> all{1, 2, 3, 4, 5, 6, 7, 8, 9};

    /// Whether another program gets this combination; it keeps it.
    bool grabElsewhere(uint8_t code, uint16_t modifiers)
    {
        const auto grab = xcb_grab_key_checked(m_session.xcb(), 0, m_session.root(), modifiers, code,
                                               XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        return !XcbReply<xcb_generic_error_t>(xcb_request_check(m_session.xcb(), grab));
    }
    /// The same through the input extension.
    bool grabElsewhereThroughExtension(uint8_t code, uint32_t modifiers)
    {
        xcb_connection_t *xcb = m_session.xcb();
        xcb_discard_reply(xcb, xcb_input_xi_query_version(xcb, 2, 0).sequence);
        const uint32_t events = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS;
        const XcbReply<xcb_input_xi_passive_grab_device_reply_t> reply(xcb_input_xi_passive_grab_device_reply(
            xcb,
            xcb_input_xi_passive_grab_device(xcb, XCB_CURRENT_TIME, m_session.root(), XCB_CURSOR_NONE, code,
                                             XCB_INPUT_DEVICE_ALL_MASTER, 1, 1, XCB_INPUT_GRAB_TYPE_KEYCODE,
                                             XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_MODE_22_ASYNC, 0, &events,
                                             &modifiers),
            nullptr));
        return reply && reply->num_modifiers == 0;
    }

    test::XSession m_session;
    std::unique_ptr<X11Connection> m_x11;
    std::unique_ptr<X11Windows> m_windows;
    std::unique_ptr<X11HotKeys> m_hotKeys;
    std::vector<HotKeys::Handle> m_handles;
    QList<quint32> m_pressed;
};

constexpr uint16_t altShift = XCB_MOD_MASK_1 | XCB_MOD_MASK_SHIFT;

TEST_F(X11HotKeysTest, TheDigitRowWorksOnEveryLayoutAndWithEveryLock)
{
    const struct {
        QStringList layout;
        uint8_t toSecondGroup;
    } layouts[] = {
        {{QStringLiteral("us")}, 0},
        {{QStringLiteral("fr")}, 0},
        {{QStringLiteral("us,fr"), QStringLiteral("-option"), QStringLiteral("grp:menu_toggle")}, menu},
    };
    for (const auto &[layout, toSecondGroup] : layouts) {
        ASSERT_TRUE(run(QStringLiteral("setxkbmap"), layout));
        m_handles.clear();
        ASSERT_TRUE(registerNine().isEmpty()) << layout[0].toStdString();
        if (toSecondGroup != 0)
            tap(toSecondGroup);
        for (const auto &locks : std::vector<std::vector<uint8_t>>{{}, {numLock}, {capsLock}, {numLock, capsLock}}) {
            for (const uint8_t lock : locks)
                tap(lock);
            tapDigits();
            EXPECT_EQ(pressed(9), all) << layout[0].toStdString() << " with locks " << locks.size();
            for (const uint8_t lock : locks)
                tap(lock);
        }
    }
    EXPECT_NE(m_windows->userTime(), 0u) << "the panel may take the focus by what the user did";
    tapWith({alt}, {digit1});
    tapWith({shift}, {digit1});
    tapWith({control, alt, shift}, {digit1});
    EXPECT_TRUE(pressed(0).isEmpty());
}

TEST_F(X11HotKeysTest, WhatAnotherProgramHoldsIsRefusedAndTheOthersWork)
{
    const std::pair<const char *, std::function<bool()>> others[] = {
        {"plain", [this] { return grabElsewhere(digit1 + 4, altShift); }},
        {"with Num Lock only", [this] { return grabElsewhere(digit1 + 4, altShift | XCB_MOD_MASK_2); }},
        {"through the extension", [this] { return grabElsewhereThroughExtension(digit1 + 4, altShift); }},
    };
    for (const auto &[what, grab] : others) {
        ASSERT_TRUE(grab()) << what;
        EXPECT_EQ(registerNine(), QList<quint32>{5}) << what;
        tapDigits();
        EXPECT_EQ(pressed(8), (QList<quint32>{1, 2, 3, 4, 6, 7, 8, 9})) << what;
        EXPECT_TRUE(grabElsewhere(digit1 + 4, altShift | XCB_MOD_MASK_LOCK)) << "nothing is kept of it: " << what;

        EXPECT_FALSE(grabElsewhere(digit1, altShift)) << "the others are held against later programs";
        m_handles.clear();
        pressed(0);
        EXPECT_TRUE(grabElsewhere(digit1, altShift) && grabElsewhereThroughExtension(digit1, altShift))
            << "given back";
        xcb_ungrab_key(m_session.xcb(), XCB_GRAB_ANY, m_session.root(), XCB_MOD_MASK_ANY);
        for (const uint8_t code : {digit1, uint8_t(digit1 + 4)})
            xcb_input_xi_passive_ungrab_device(m_session.xcb(), m_session.root(), code, XCB_INPUT_DEVICE_ALL_MASTER,
                                               1, XCB_INPUT_GRAB_TYPE_KEYCODE, std::array{uint32_t(altShift)}.data());
    }
}

TEST_F(X11HotKeysTest, ChangingTheLayoutLosesNoPress)
{
    ASSERT_TRUE(registerNine().isEmpty());
    QProcess changing;
    changing.start(
        QStringLiteral("sh"),
        {QStringLiteral("-c"), QStringLiteral("for l in fr us de us fr; do setxkbmap $l || exit 1; done")});
    qsizetype tapped = 0;
    QList<quint32> expected;
    while (changing.state() != QProcess::NotRunning && tapped < 2000) {
        tapDigits();
        expected += all;
        tapped += 9;
        ASSERT_TRUE(QTest::qWaitFor([&] { return m_pressed.size() >= tapped; }, 10'000));
    }
    ASSERT_TRUE(changing.state() == QProcess::NotRunning || changing.waitForFinished(20'000));
    ASSERT_EQ(changing.exitCode(), 0);
    EXPECT_EQ(pressed(tapped), expected);
}

TEST_F(X11HotKeysTest, FollowsKeysAndModifiersThatMove)
{
    QByteArray keymap;
    QProcess print;
    print.start(QStringLiteral("setxkbmap"), {QStringLiteral("us"), QStringLiteral("-print")});
    ASSERT_TRUE(print.waitForFinished(20'000));
    keymap = print.readAllStandardOutput();
    const auto change = [&](const char *section, const char *addition) {
        QByteArray changed = keymap;
        const qsizetype at = changed.indexOf(section);
        return at >= 0 && run(QStringLiteral("xkbcomp"),
                              {QStringLiteral("-w0"), QStringLiteral("-"), qEnvironmentVariable("DISPLAY")},
                              changed.insert(changed.indexOf("};", at), addition));
    };
    const auto reaches = [this](uint8_t code, const std::vector<uint8_t> &modifiers, quint32 id) {
        return QTest::qWaitFor(
            [&] {
                tapWith(modifiers, {code});
                return pressed(0).contains(id);
            },
            10'000);
    };
    ASSERT_TRUE(registerNine().isEmpty());

    ASSERT_TRUE(change("xkb_keycodes", "\n<AE01> = 11; <AE02> = 10;\n")) << "two keys change places";
    EXPECT_TRUE(reaches(11, {alt, shift}, 1));
    tapDigits();
    EXPECT_EQ(pressed(9), (QList<quint32>{2, 1, 3, 4, 5, 6, 7, 8, 9}));

    // Another bit for Num Lock, as people's own start-up scripts have it.
    ASSERT_TRUE(run(QStringLiteral("setxkbmap"), {QStringLiteral("us")}));
    const XcbReply<xcb_get_modifier_mapping_reply_t> before(
        xcb_get_modifier_mapping_reply(m_session.xcb(), xcb_get_modifier_mapping(m_session.xcb()), nullptr));
    ASSERT_TRUE(before);
    const int each = before->keycodes_per_modifier;
    xcb_keycode_t *codes = xcb_get_modifier_mapping_keycodes(before.get());
    std::swap_ranges(codes + 4 * each, codes + 5 * each, codes + 5 * each);
    const XcbReply<xcb_set_modifier_mapping_reply_t> set(xcb_set_modifier_mapping_reply(
        m_session.xcb(), xcb_set_modifier_mapping(m_session.xcb(), uint8_t(each), codes), nullptr));
    ASSERT_TRUE(set && set->status == XCB_MAPPING_STATUS_SUCCESS);
    tap(numLock);
    EXPECT_TRUE(reaches(10, {alt, shift}, 1));
    tapDigits();
    EXPECT_EQ(pressed(9), all);
    tap(numLock);

    m_handles.clear();
    pressed(0);
    EXPECT_TRUE(grabElsewhere(digit1, altShift) && grabElsewhere(digit1, altShift | XCB_MOD_MASK_3))
        << "all given back";
}

} // namespace
