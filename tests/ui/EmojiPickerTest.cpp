#include "support/FakeDesktop.h"
#include "support/FakeDesktopItems.h"
#include "ui/common/ControlsEngine.h"

#include <QAccessible>
#include <QQmlComponent>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

QStringList *warnings = nullptr;

/// A window that opens the add-group sheet as a popover, without a display.
class EmojiPickerTest : public testing::Test {
protected:
    void SetUp() override
    {
        warnings = &m_warnings;
        m_handler = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &message) {
            if (type != QtDebugMsg && type != QtInfoMsg)
                warnings->append(message);
        });
        window.resize(500, 400);
        window.show();
        QQmlComponent component(&engine);
        component.setData(R"(import QtQuick
            import Cobblet.Controls
            Item {
                id: root
                property string done
                width: 100; height: 20
                Component {
                    id: sheet
                    AddGroupSheet {
                        onAdd: (name, emoji) => root.done += name + " " + emoji
                        onCancelled: root.done += "cancelled"
                    }
                }
                function open() { Popovers.toggle(sheet, root); }
            })",
                          QUrl());
        root.reset(qobject_cast<QQuickItem *>(component.create()));
        ASSERT_NE(root, nullptr) << component.errorString().toStdString();
        root->setParentItem(window.contentItem());
        window.requestActivate();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        openPicker();
    }
    void TearDown() override
    {
        root.reset();
        qInstallMessageHandler(m_handler);
        EXPECT_EQ(m_warnings.join(u"\n"_s).toStdString(), "");
    }

    /// The picker over the sheet over the window.
    void openPicker()
    {
        if (!sheet) {
            QMetaObject::invokeMethod(root.get(), "open");
            sheet = engine.popovers().window();
            ASSERT_NE(sheet, nullptr);
        }
        button = item(sheet->contentItem(), "label", u"Change icon"_s);
        ASSERT_NE(button, nullptr);
        QTest::mouseClick(sheet, Qt::LeftButton, {}, button->mapToScene(QPointF(5, 5)).toPoint());
        picker = engine.popovers().window();
        ASSERT_NE(picker, sheet);
        ASSERT_TRUE(QTest::qWaitForWindowActive(picker));
    }
    static QQuickItem *item(QQuickItem *root, const char *property, const QVariant &value)
    {
        if (root->property(property) == value && root->isVisible())
            return root;
        for (QQuickItem *child : root->childItems())
            if (QQuickItem *found = item(child, property, value))
                return found;
        return nullptr;
    }
    static int cells(const QQuickItem *root)
    {
        int count = root->inherits("CBEmoji");
        for (const QQuickItem *child : root->childItems())
            count += cells(child);
        return count;
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) { QTest::keyClick(picker, key, modifiers); }
    void type(const char *text)
    {
        for (const char *c = text; *c; ++c)
            QTest::keyClick(picker, *c);
    }
    void paste(const QString &text)
    {
        QInputMethodEvent event;
        event.setCommitString(text);
        QCoreApplication::sendEvent(picker->focusObject(), &event);
    }
    QString chosen() const { return button->property("selection").toString(); }
    bool isPickerOpen() { return engine.popovers().window() == picker; }

    test::FakeDefaults defaults;
    test::FakeAppearance appearance;
    ThemeManager theme{defaults, appearance};
    test::FakeMenus menus;
    ControlsEngine engine{theme, appearance, menus, {QStringLiteral(COBBLET_EMOJI_TABLES), defaults}};
    QQuickWindow window;
    std::unique_ptr<QQuickItem> root;
    QPointer<QQuickWindow> sheet, picker;
    QQuickItem *button = nullptr;

private:
    QStringList m_warnings;
    QtMessageHandler m_handler = nullptr;
};

TEST_F(EmojiPickerTest, TypingFindsAnEmojiThatReturnTakesIntoTheSheet)
{
    type("rocket");
    press(Qt::Key_Return);
    EXPECT_EQ(engine.popovers().window(), sheet) << "the picker closed alone";
    EXPECT_EQ(chosen(), u"🚀"_s);
    ASSERT_TRUE(QTest::qWaitForWindowActive(sheet));
    QTest::keyClick(sheet, Qt::Key_A);
    QTest::keyClick(sheet, Qt::Key_Return);
    EXPECT_EQ(root->property("done"), u"a 🚀"_s);
    EXPECT_EQ(engine.popovers().window(), nullptr);
}

TEST_F(EmojiPickerTest, EscapeClearsThenClosesTheInnermostAndAPressElsewhereClosesWhatLiesAbove)
{
    type("ro");
    press(Qt::Key_Escape);
    ASSERT_TRUE(isPickerOpen());
    EXPECT_NE(item(picker->contentItem(), "heading", u"Work"_s), nullptr) << "the catalogue is back";
    press(Qt::Key_Escape);
    EXPECT_EQ(engine.popovers().window(), sheet);
    EXPECT_EQ(chosen(), u"📁"_s);

    openPicker();
    QTest::mouseClick(sheet, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(engine.popovers().window(), sheet);
    openPicker();
    QTest::mouseClick(sheet, Qt::LeftButton, {}, button->mapToScene(QPointF(5, 5)).toPoint());
    EXPECT_EQ(engine.popovers().window(), sheet) << "its own button closes it";
    QTest::keyClick(sheet, Qt::Key_Escape);
    EXPECT_EQ(root->property("done"), u"cancelled"_s);
    EXPECT_EQ(engine.popovers().window(), nullptr);
    sheet = nullptr;
    openPicker();
    QTest::mouseClick(&window, Qt::LeftButton, {}, QPoint(300, 300));
    EXPECT_EQ(engine.popovers().window(), nullptr);
}

TEST_F(EmojiPickerTest, ArrowsWalkTheGridFromTheEmojiThatIsThere)
{
    const struct {
        std::initializer_list<Qt::Key> keys;
        QString taken;
    } walks[] = {
        {{}, u"📁"_s},
        {{Qt::Key_Right}, u"💾"_s},
        {{Qt::Key_Left, Qt::Key_Left}, u"🤳"_s}, // over the end of the row before
        {{Qt::Key_Down, Qt::Key_Down, Qt::Key_Up}, u"🔑"_s},
        {{Qt::Key_PageDown, Qt::Key_PageDown, Qt::Key_PageDown, Qt::Key_PageDown, Qt::Key_Down}, u"🎌"_s},
        {{Qt::Key_PageUp, Qt::Key_PageUp, Qt::Key_PageUp, Qt::Key_PageUp}, u"📌"_s},
    };
    for (const auto &[keys, taken] : walks) {
        for (const Qt::Key key : keys)
            press(key);
        press(Qt::Key_Return);
        EXPECT_EQ(chosen().toStdString(), taken.toStdString());
        openPicker();
    }
    type("q");
    press(Qt::Key_Up);
    press(Qt::Key_Left);
    EXPECT_TRUE(isPickerOpen()) << "nothing lies before the first";
}

TEST_F(EmojiPickerTest, APastedEmojiIsTakenAsItselfAndNothingElseIs)
{
    paste(u"🦖🦖"_s);
    press(Qt::Key_Return);
    EXPECT_TRUE(isPickerOpen());
    press(Qt::Key_Escape);
    paste(u"👩🏽‍🚀"_s);
    press(Qt::Key_Return);
    EXPECT_EQ(chosen(), u"👩🏽‍🚀"_s);
}

TEST_F(EmojiPickerTest, TheSkinToneIsChosenByKeyAndRemembered)
{
    type("waving hand");
    press(Qt::Key_Down, Qt::AltModifier);
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    press(Qt::Key_Escape);
    EXPECT_TRUE(isPickerOpen()) << "only the row of tones closed";
    press(Qt::Key_Down, Qt::AltModifier);
    press(Qt::Key_Right);
    press(Qt::Key_Right);
    press(Qt::Key_Return);
    EXPECT_EQ(chosen(), u"👋🏼"_s);
    EXPECT_EQ(defaults.integer(u"emojiSkinTone"_s), 2);
    openPicker();
    type("thumbs up");
    press(Qt::Key_Return);
    EXPECT_EQ(chosen(), u"👍🏼"_s) << "in the tone of before";
    openPicker();
    type("rocket");
    press(Qt::Key_Down, Qt::AltModifier);
    press(Qt::Key_Return);
    EXPECT_EQ(chosen(), u"🚀"_s) << "it has no tones";
}

TEST_F(EmojiPickerTest, MakesOnlyVisibleCellsThatAreNamedAndTakesWhatIsClickedOrPressed)
{
    EXPECT_LT(cells(picker->contentItem()), 120);
    type("e");
    QTest::qWait(20);
    EXPECT_LT(cells(picker->contentItem()), 160);
    type("yes");
    const auto cell = [this](const QString &emoji) {
        QQuickItem *found = nullptr;
        EXPECT_TRUE(
            QTest::qWaitFor([&] { return (found = item(picker->contentItem(), "emoji", emoji)) != nullptr; }));
        return found;
    };
    const auto *eyes = QAccessible::queryAccessibleInterface(cell(u"👀"_s));
    EXPECT_EQ(eyes->role(), QAccessible::Button);
    EXPECT_EQ(eyes->text(QAccessible::Name), u"eyes"_s);
    const QPoint at = cell(u"👀"_s)->mapToScene(QPointF(19, 19)).toPoint();
    QTest::mouseClick(picker, Qt::LeftButton, {}, at);
    EXPECT_EQ(chosen(), u"👀"_s);
    openPicker();
    type("rocket");
    QAccessible::queryAccessibleInterface(cell(u"🚀"_s))->actionInterface()->doAction(u"Press"_s);
    EXPECT_EQ(chosen(), u"🚀"_s);
}

} // namespace
} // namespace cobblet
