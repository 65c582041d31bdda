#include "platform/freedesktop/X11HotKeys.h"

#include "platform/XSession.h"

#include <QProcess>
#include <QTest>

#include <gtest/gtest.h>

#include <xcb/xtest.h>

using namespace cobblet;
using namespace Qt::StringLiterals;

namespace {

// Places of keys on every keyboard of the virtual server; what they type is up to the layout.
constexpr uint8_t digit1 = 10, digit5 = 14, shift = 50, alt = 64, control = 37, capsLock = 66, numLock = 77,
                  menu = 135;
constexpr int virtualKeys[] = {18, 19, 20, 21, 23, 22, 26, 28, 25};
constexpr uint16_t altShift = XCB_MOD_MASK_1 | XCB_MOD_MASK_SHIFT;
const QList<quint32> all{1, 2, 3, 4, 5, 6, 7, 8, 9};

bool setLayout(const QStringList &arguments)
{
    QProcess process;
    process.start(u"setxkbmap"_s, arguments);
    return process.waitForFinished(20'000) && process.exitCode() == 0;
}

class X11HotKeysTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(x11 && setLayout({u"us"_s}));
        windows = std::make_unique<X11Windows>(*x11);
    }

    /// The ids whose combination was refused.
    QList<quint32> registerNine()
    {
        handles.clear();
        hotKeys = std::make_unique<X11HotKeys>(*windows);
        QObject::connect(hotKeys.get(), &HotKeys::pressed, hotKeys.get(),
                         [this](const HotKeyID &id) { heard.append(id.id); });
        QList<HotKey> keys;
        for (const quint32 id : all)
            keys.append({virtualKeys[id - 1], modifier::option | modifier::shift, HotKeyID{1, id}, {}, {}});
        QList<quint32> refused;
        for (Result<HotKeys::Handle> &result : hotKeys->registerAll(keys))
            if (handles.push_back(result ? std::move(result).value() : nullptr); !handles.back())
                refused.append(quint32(handles.size()));
        return refused;
    }

    void fake(uint8_t type, const std::vector<uint8_t> &codes)
    {
        for (const uint8_t code : codes)
            xcb_test_fake_input(session.x11->xcb(), type, code, XCB_CURRENT_TIME, XCB_WINDOW_NONE, 0, 0, 0);
        session.x11->flush();
    }
    void tap(const std::vector<uint8_t> &codes, const std::vector<uint8_t> &modifiers = {})
    {
        fake(XCB_KEY_PRESS, modifiers);
        for (const uint8_t code : codes) {
            fake(XCB_KEY_PRESS, {code});
            fake(XCB_KEY_RELEASE, {code});
        }
        fake(XCB_KEY_RELEASE, modifiers);
    }
    void tapDigits() { tap({10, 11, 12, 13, 14, 15, 16, 17, 18}, {alt, shift}); }

    /// What was pressed since the last look, once as many as expected have come and no more are on their way.
    QList<quint32> pressed(qsizetype count)
    {
        EXPECT_TRUE(QTest::qWaitFor([&] { return heard.size() >= count; }, 10'000));
        session.x11->focus(); // its answer says that the server has dealt with what the test did before
        bool answered = false;
        const unsigned question = xcb_get_input_focus(x11->xcb()).sequence;
        x11->whenReplied(question, x11.get(), [&](const void *) { answered = true; });
        EXPECT_TRUE(QTest::qWaitFor([&] { return answered; }, 10'000));
        QCoreApplication::processEvents();
        return std::exchange(heard, {});
    }

    /// Whether another program gets this combination; it keeps it.
    bool grabElsewhere(uint8_t code, uint16_t modifiers = altShift)
    {
        xcb_connection_t *xcb = session.x11->xcb();
        const auto grab = xcb_grab_key_checked(xcb, 0, session.x11->root(), modifiers, code, XCB_GRAB_MODE_ASYNC,
                                               XCB_GRAB_MODE_ASYNC);
        return !XcbReply<xcb_generic_error_t>(xcb_request_check(xcb, grab));
    }
    test::XSession session;
    std::unique_ptr<X11Connection> x11 = X11Connection::open();
    std::unique_ptr<X11Windows> windows;
    std::unique_ptr<X11HotKeys> hotKeys;
    std::vector<HotKeys::Handle> handles;
    QList<quint32> heard;
};

TEST_F(X11HotKeysTest, TheDigitRowWorksOnEveryLayoutAndWithEveryLock)
{
    ASSERT_TRUE(setLayout({u"us,fr"_s, u"-option"_s, u"grp:menu_toggle"_s}) && registerNine().isEmpty());
    for (const auto &toOtherLayout : std::vector<std::vector<uint8_t>>{{}, {menu}}) {
        tap(toOtherLayout);
        for (const auto &locks : std::vector<std::vector<uint8_t>>{{}, {numLock}, {capsLock}, {numLock, capsLock}}) {
            tap(locks);
            tapDigits();
            EXPECT_EQ(pressed(9), all) << "layout " << toOtherLayout.size() << " with locks " << locks.size();
            tap(locks);
        }
    }
    EXPECT_NE(windows->userTime(), 0u) << "the panel may take the focus by what the user did";
    tap({digit1}, {alt});
    tap({digit1}, {control, alt, shift});
    EXPECT_TRUE(pressed(0).isEmpty());
}

TEST_F(X11HotKeysTest, WhatAnotherProgramHoldsIsRefusedAndTheOthersWork)
{
    for (const uint16_t modifiers : {altShift, uint16_t(altShift | XCB_MOD_MASK_2)}) { // without and with Num Lock
        ASSERT_TRUE(grabElsewhere(digit5, modifiers));
        EXPECT_EQ(registerNine(), QList<quint32>{5}) << modifiers;
        tapDigits();
        EXPECT_EQ(pressed(8), (QList<quint32>{1, 2, 3, 4, 6, 7, 8, 9})) << modifiers;
        EXPECT_TRUE(grabElsewhere(digit5, altShift | XCB_MOD_MASK_LOCK)) << "nothing is kept of it: " << modifiers;
        EXPECT_FALSE(grabElsewhere(digit1)) << "the others are held against later programs";
        handles.clear();
        pressed(0);
        EXPECT_TRUE(grabElsewhere(digit1)) << "given back";
        xcb_ungrab_key(session.x11->xcb(), XCB_GRAB_ANY, session.x11->root(), XCB_MOD_MASK_ANY);
    }
}

TEST_F(X11HotKeysTest, ChangingTheLayoutLosesNoPress)
{
    ASSERT_TRUE(registerNine().isEmpty());
    QProcess changing;
    changing.start(u"sh"_s, {u"-c"_s, u"for l in fr us de us fr; do setxkbmap $l || exit 1; done"_s});
    QList<quint32> expected;
    while (changing.state() != QProcess::NotRunning && expected.size() < 2000) {
        tapDigits();
        expected += all;
        ASSERT_TRUE(QTest::qWaitFor([&] { return heard.size() >= expected.size(); }, 10'000));
    }
    ASSERT_TRUE(changing.state() == QProcess::NotRunning || changing.waitForFinished(20'000));
    ASSERT_EQ(changing.exitCode(), 0);
    EXPECT_EQ(pressed(expected.size()), expected);
}

} // namespace
