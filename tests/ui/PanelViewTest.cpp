#include "ui/panel/PanelView.h"
#include "ui/PanelFixture.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using test::PanelFixture;

QStringList *warnings = nullptr;

void collectWarnings(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (type != QtDebugMsg && type != QtInfoMsg)
        warnings->append(message);
}

/// The real views in a window, without a display. Whatever Qt Quick complains about fails the test.
class PanelWindow : public testing::Test {
protected:
    void SetUp() override
    {
        warnings = &m_warnings;
        m_handler = qInstallMessageHandler(collectWarnings);
        QList<AppGroup> groups{f.group(QStringLiteral("Work"), 11), f.group(QStringLiteral("Play"), 2)};
        groups[1].apps[1].name = QStringLiteral("<b>Two</b>\nlines");
        f.config.replaceGroups(groups);
        view = std::make_unique<PanelView>(f.dependencies());
        view->model().select(SidebarSelection::group(groups[0].id));
        view->window().show();
        view->window().requestActivate();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&view->window()));
        QTest::qWait(20);
    }
    void TearDown() override
    {
        view.reset();
        qInstallMessageHandler(m_handler);
        EXPECT_EQ(m_warnings, QStringList());
    }

    QList<QQuickItem *> items(const QString &property, const QVariant &value, QQuickItem *root = nullptr) const
    {
        QList<QQuickItem *> found;
        root = root ? root : view->window().contentItem();
        if (root->property(property.toLatin1().constData()) == value && root->isVisible())
            found.append(root);
        for (QQuickItem *child : root->childItems())
            found += items(property, value, child);
        return found;
    }
    QQuickItem *labelled(const char *label) const
    {
        const auto found = items(QStringLiteral("label"), QLatin1String(label));
        return found.isEmpty() ? nullptr : found.front();
    }
    static QPoint center(QQuickItem *item)
    {
        return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
    }
    void click(QQuickItem *item, Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = {})
    {
        ASSERT_NE(item, nullptr);
        QTest::mouseClick(&view->window(), button, modifiers, center(item));
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&view->window(), key, modifiers);
    }

    PanelFixture f;
    std::unique_ptr<PanelView> view;

private:
    QStringList m_warnings;
    QtMessageHandler m_handler = nullptr;
};

TEST_F(PanelWindow, EveryStateLoadsWithoutWarnings)
{
    const auto shoot = [this] {
        QTest::qWait(10);
        EXPECT_FALSE(view->window().grabWindow().isNull());
    };
    for (const bool dark : {false, true})
        for (const bool glassy : {false, true}) {
            f.appearance.setDark(dark);
            f.setPreference(QStringLiteral("glassyStyle"), glassy);
            shoot();
        }
    view->model().setProperty("sidebarExpanded", false);
    view->model().selectRow(-1);
    shoot();
    f.usage.recordLaunch(QStringLiteral("app.1"));
    shoot();
    f.setPreference(QStringLiteral("popupShowsTitles"), false);
    f.setPreference(QStringLiteral("popupColumns"), 2);
    shoot();
    f.config.replaceGroups({});
    shoot();
}

TEST_F(PanelWindow, ClicksOpenSelectAndShowMenus)
{
    click(labelled("App 2"));
    EXPECT_EQ(f.workspace.opened, QStringList({QStringLiteral("app.2")}));
    click(labelled("Play"));
    EXPECT_EQ(view->selectedGroup()->name, QStringLiteral("Play"));
    QTest::qWait(10);
    click(labelled("<b>Two</b> lines"), Qt::RightButton);
    EXPECT_EQ(f.menus.last.front().title, QStringLiteral("Open"));
    EXPECT_EQ(f.workspace.opened.size(), 1) << "the right button opens no application";
    click(labelled("Settings"));
    EXPECT_EQ(f.posted("Cobblet.openSettings"), 1);
}

TEST_F(PanelWindow, OnlyVisibleCellsAreMade)
{
    f.config.addGroup(f.group(QStringLiteral("Crowd"), 60));
    view->model().selectDigit(3);
    QTest::qWait(50);
    const auto cells = items(QStringLiteral("isAdd"), false).size();
    EXPECT_GE(cells, 12);
    EXPECT_LE(cells, 24);
}

TEST_F(PanelWindow, KeyboardReachesEverything)
{
    EXPECT_FALSE(view->engine().decorations().keyboardFocus());
    press(Qt::Key_Right);
    EXPECT_TRUE(view->engine().decorations().keyboardFocus());
    press(Qt::Key_Return);
    EXPECT_EQ(f.workspace.opened, QStringList({QStringLiteral("app.2")}));
    press(Qt::Key_Down);
    press(Qt::Key_Space);
    EXPECT_EQ(f.workspace.opened.last(), QStringLiteral("app.6"));
    press(Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(f.menus.last.last().title, QStringLiteral("Remove from Work"));
    press(Qt::Key_Left);
    press(Qt::Key_Left);
    press(Qt::Key_Down);
    EXPECT_EQ(view->selectedGroup()->name, QStringLiteral("Play"));
    press(Qt::Key_Menu);
    EXPECT_EQ(f.menus.last.front().title, QStringLiteral("Pin"));
    press(Qt::Key_Comma);
    EXPECT_EQ(f.posted("Cobblet.openSettings"), 0);
    press(Qt::Key_Comma, Qt::ControlModifier);
    EXPECT_EQ(f.posted("Cobblet.openSettings"), 1);

    // Tab comes round to where it began, by way of the tool row.
    QStringList passed;
    for (int i = 0; i < 12; ++i) {
        press(Qt::Key_Tab);
        passed.append(view->window().activeFocusItem()->property("label").toString());
    }
    for (const char *label : {"Open All", "Hide All", "Settings", "New Group", "Collapse sidebar"})
        EXPECT_TRUE(passed.contains(QLatin1String(label)))
            << label << " in " << qPrintable(passed.join(QLatin1Char(' ')));

    QTest::mouseMove(&view->window(), QPoint(300, 20));
    QTest::mousePress(&view->window(), Qt::LeftButton, {}, QPoint(300, 8));
    EXPECT_FALSE(view->engine().decorations().keyboardFocus()) << "the ring is for the keyboard";
}

TEST_F(PanelWindow, HeldModifiersChangeTheCloseAllButtonUntilReleasedOrFocusIsLost)
{
    QTest::keyPress(&view->window(), Qt::Key_Control);
    EXPECT_NE(labelled("Force Quit All"), nullptr);
    QTest::keyRelease(&view->window(), Qt::Key_Control);
    EXPECT_NE(labelled("Hide All"), nullptr);
    QTest::keyPress(&view->window(), Qt::Key_Alt);
    EXPECT_NE(labelled("Quit All"), nullptr);
    QFocusEvent lost(QEvent::FocusOut);
    QCoreApplication::sendEvent(&view->window(), &lost);
    EXPECT_NE(labelled("Hide All"), nullptr);
    f.run(QStringLiteral("app.1"));
    click(labelled("Hide All"), Qt::LeftButton, Qt::ControlModifier);
    EXPECT_EQ(f.running.calls, QStringList({QStringLiteral("forceTerminate app.1 100")}));
}

TEST_F(PanelWindow, NewGroupPopoverAddsOnReturnAndRefusesBlankNames)
{
    click(labelled("New Group"));
    QQuickWindow *sheet = view->engine().popovers().window();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->width(), 300);
    ASSERT_TRUE(QTest::qWaitForWindowActive(sheet));
    const auto type = [&](const char *text) {
        for (const char *c = text; *c; ++c)
            QTest::keyClick(sheet, *c);
    };
    type("  ");
    QTest::keyClick(sheet, Qt::Key_Return);
    EXPECT_NE(view->engine().popovers().anchor(), nullptr);
    EXPECT_EQ(f.config.groups().size(), 2);
    type("Reading ");
    QTest::keyClick(sheet, Qt::Key_Return);
    EXPECT_EQ(view->engine().popovers().anchor(), nullptr);
    ASSERT_EQ(f.config.groups().size(), 3);
    EXPECT_EQ(f.config.groups().last().name, QStringLiteral("Reading"));
    EXPECT_EQ(f.config.groups().last().emoji, QStringLiteral("📁"));
}

TEST_F(PanelWindow, ItsKeyMonitorSeesThePopoversToo)
{
    struct Monitor : QObject {
        bool eventFilter(QObject *, QEvent *event) override
        {
            return uses && event->type() == QEvent::KeyPress &&
                   static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape;
        }
        bool uses = true;
    } monitor;
    view->setKeyMonitor(monitor);
    click(labelled("New Group"));
    QQuickWindow *sheet = view->engine().popovers().window();
    ASSERT_NE(sheet, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowActive(sheet));
    QTest::keyClick(sheet, Qt::Key_Escape);
    EXPECT_NE(view->engine().popovers().anchor(), nullptr) << "the monitor used it up";
    monitor.uses = false;
    QTest::keyClick(sheet, Qt::Key_Escape);
    EXPECT_EQ(view->engine().popovers().anchor(), nullptr);
}

TEST_F(PanelWindow, HintPopoverTogglesAndGoesWithThePanel)
{
    QQuickItem *info = labelled("Close All Button Shortcuts");
    click(info);
    EXPECT_TRUE(info->property("showingHint").toBool());
    click(info);
    EXPECT_FALSE(info->property("showingHint").toBool());
    click(info);
    QTest::mouseClick(&view->window(), Qt::LeftButton, {}, QPoint(300, 8));
    EXPECT_FALSE(info->property("showingHint").toBool()) << "a press elsewhere closes it";
    click(info);
    view->window().hide();
    EXPECT_FALSE(info->property("showingHint").toBool());
}

TEST_F(PanelWindow, HoverDecorationLetsItselfGo)
{
    QQuickItem *cell = labelled("App 3");
    const auto before = cell->childItems().size();
    QTest::mouseMove(&view->window(), QPoint(300, 4));
    QTest::mouseMove(&view->window(), center(cell));
    EXPECT_TRUE(QTest::qWaitFor([&] { return cell->childItems().size() == before + 1; }, 2000));
    QTest::mouseMove(&view->window(), QPoint(300, 4));
    EXPECT_TRUE(QTest::qWaitFor([&] { return cell->childItems().size() == before; }, 2000));
}

TEST(RoundedRegion, CutsOnlyTheCorners)
{
    const QRegion region = roundedRegion(QSize(100, 60), 10);
    EXPECT_EQ(region.boundingRect(), QRect(0, 0, 100, 60));
    for (const QPoint corner : {QPoint(0, 0), QPoint(99, 0), QPoint(0, 59), QPoint(99, 59), QPoint(1, 1)})
        EXPECT_FALSE(region.contains(corner));
    for (const QPoint inside : {QPoint(10, 0), QPoint(0, 10), QPoint(4, 4), QPoint(99, 30), QPoint(50, 59)})
        EXPECT_TRUE(region.contains(inside));
}

TEST(ModifiersAfter, CountTheKeyThatIsGoingDownOrUp)
{
    struct Case {
        QEvent::Type type;
        int key;
        Qt::KeyboardModifiers reported;
        Qt::KeyboardModifiers held;
    };
    // Some window systems report the state before the key, some after it.
    const Case cases[] = {
        {QEvent::KeyPress, Qt::Key_Control, Qt::NoModifier, Qt::ControlModifier},
        {QEvent::KeyPress, Qt::Key_Control, Qt::ControlModifier, Qt::ControlModifier},
        {QEvent::KeyRelease, Qt::Key_Control, Qt::ControlModifier, Qt::NoModifier},
        {QEvent::KeyRelease, Qt::Key_Alt, Qt::AltModifier | Qt::ControlModifier, Qt::ControlModifier},
        {QEvent::KeyPress, Qt::Key_A, Qt::ControlModifier, Qt::ControlModifier},
    };
    for (const Case &c : cases)
        EXPECT_EQ(modifiersAfter(QKeyEvent(c.type, c.key, c.reported)), c.held) << c.key;
}

} // namespace
} // namespace cobblet
