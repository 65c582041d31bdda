#include "ui/panel/PanelView.h"
#include "ui/PanelFixture.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QQuickItem>
#include <QQuickView>

namespace cobblet {
namespace {

/// The real views in a window, without a display. Whatever Qt Quick complains about fails the test.
class PanelWindow : public testing::Test {
protected:
    void SetUp() override
    {
        QList<AppGroup> groups{f.group(u"Work"_s, 11), f.group(u"Play"_s, 2)};
        groups[1].apps[1].name = u"<b>Two</b>\nlines"_s;
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
        EXPECT_EQ(warnings.lines, QStringList());
    }

    QList<QQuickItem *> items(const char *property, const QVariant &value, QQuickItem *root = nullptr) const
    {
        root = root ? root : view->window().contentItem();
        QList<QQuickItem *> found;
        if (root->property(property) == value && root->isVisible())
            found.append(root);
        for (QQuickItem *child : root->childItems())
            found += items(property, value, child);
        return found;
    }
    QQuickItem *labelled(const char *label) const { return items("label", QLatin1String(label)).value(0); }
    static QPoint center(QQuickItem *item)
    {
        return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
    }
    void click(QQuickItem *item)
    {
        ASSERT_NE(item, nullptr);
        QTest::mouseClick(&view->window(), Qt::LeftButton, {}, center(item));
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::keyClick(&view->window(), key, modifiers);
    }

    test::Warnings warnings;
    test::PanelFixture f;
    std::unique_ptr<PanelView> view;
};

TEST_F(PanelWindow, EveryStateLoadsWithoutWarningsAndMakesOnlyVisibleCells)
{
    const auto shoot = [this] {
        QTest::qWait(10);
        EXPECT_FALSE(view->window().grabWindow().isNull());
    };
    for (const bool dark : {false, true})
        for (const bool glassy : {false, true}) {
            f.appearance.setDark(dark);
            f.setPreference(u"glassyStyle"_s, glassy);
            shoot();
        }
    view->model().setProperty("sidebarExpanded", false);
    view->model().selectRow(-1);
    shoot();
    f.usage.recordLaunch(u"app.1"_s);
    shoot();
    f.setPreference(u"popupShowsTitles"_s, false);
    f.setPreference(u"popupColumns"_s, 2);
    shoot();
    f.config.replaceGroups({f.group(u"Crowd"_s, 60)});
    view->model().selectRow(0);
    shoot();
    const auto cells = items("showsTitle", false).size();
    EXPECT_TRUE(cells >= 6 && cells <= 24) << cells;
    f.config.replaceGroups({});
    shoot();
}

TEST_F(PanelWindow, KeyboardReachesEverything)
{
    EXPECT_FALSE(view->engine().decorations().keyboardFocus());
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Return, Qt::Key_Down, Qt::Key_Space})
        press(key);
    EXPECT_TRUE(view->engine().decorations().keyboardFocus());
    EXPECT_EQ(f.workspace.opened, QStringList({u"app.2"_s, u"app.6"_s}));
    press(Qt::Key_F10, Qt::ShiftModifier);
    EXPECT_EQ(f.menus.last.last().title, u"Remove from Work"_s);
    for (const Qt::Key key : {Qt::Key_Left, Qt::Key_Left, Qt::Key_Down})
        press(key);
    EXPECT_EQ(view->selectedGroup()->name, u"Play"_s);
    press(Qt::Key_Menu);
    EXPECT_EQ(f.menus.last.front().title, u"Pin"_s);
    press(Qt::Key_Comma, Qt::ControlModifier);
    EXPECT_EQ(f.posted("Cobblet.openSettings"), 1);
    // Tab comes round to where it began, by way of the tool row.
    QStringList passed;
    for (int i = 0; i < 12; ++i) {
        press(Qt::Key_Tab);
        passed.append(view->window().activeFocusItem()->property("label").toString());
    }
    for (const char *label : {"Open All", "Hide All", "Settings", "New Group", "Collapse sidebar"})
        EXPECT_TRUE(passed.contains(QLatin1String(label))) << label;
    click(labelled("Work"));
    EXPECT_FALSE(view->engine().decorations().keyboardFocus()) << "the ring is for the keyboard";
}

TEST_F(PanelWindow, TheAddCellIsReachedByTheKeyboardAndItsChooserIsUsedWithIt)
{
    f.workspace.install(u"new.one"_s, u"Zeta One"_s);
    view->model().selectRow(1);
    for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Right, Qt::Key_Left, Qt::Key_Right})
        press(key);
    EXPECT_EQ(view->window().activeFocusItem()->property("label"), u"Add Apps"_s);
    EXPECT_EQ(center(labelled("Add Apps")).y(), center(labelled("App 1")).y()) << "in line with the others";
    press(Qt::Key_Return);
    QQuickWindow *sheet = view->engine().popovers().window();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(sheet->title(), u"Choose Apps"_s);
    ASSERT_TRUE(QTest::qWaitForWindowActive(sheet));
    const auto row = [&](const char *name) {
        return items("label", QLatin1String(name), sheet->contentItem()).value(0);
    };
    ASSERT_TRUE(QTest::qWaitFor([&] { return row("App 1") != nullptr; }));
    QTest::keyClick(sheet, Qt::Key_Down);
    QTest::keyClick(sheet, Qt::Key_Z);
    ASSERT_TRUE(QTest::qWaitFor([&] { return row("Zeta One") && !row("App 1"); }));
    const auto *field = QAccessible::queryAccessibleInterface(sheet->activeFocusItem());
    EXPECT_EQ(field->text(QAccessible::Description), u"Zeta One"_s) << "heard while the field has the keyboard";
    QTest::mouseDClick(sheet, Qt::RightButton, {}, center(row("Zeta One")));
    EXPECT_EQ(f.config.groups()[1].apps.size(), 2) << "the right button adds nothing";
    ASSERT_EQ(view->engine().popovers().window(), sheet);
    QTest::keyClick(sheet, Qt::Key_Return);
    EXPECT_EQ(view->engine().popovers().window(), nullptr);
    EXPECT_EQ(f.config.groups()[1].apps.value(2).bundleID, u"new.one"_s);
}

TEST_F(PanelWindow, TheAddCellHasTheFocusOnceInAnEmptyGroupAndNoneWhereItIsHidden)
{
    f.usage.recordLaunch(u"app.1"_s);
    f.config.replaceGroups({f.group(u"Empty"_s, 0), f.group(u"Play"_s, 2)});
    view->model().selectRow(0);
    QStringList passed;
    for (int i = 0; i < 10; ++i) {
        press(i < 5 ? Qt::Key_Tab : Qt::Key_Backtab);
        passed.append(view->window().activeFocusItem()->property("label").toString());
    }
    EXPECT_EQ(passed.count(u"Add Apps"_s), 2) << "once each way round: " << passed.join(u", "_s).toStdString();
    view->model().selectRow(1);
    labelled("Add Apps")->forceActiveFocus();
    view->model().selectRow(-1);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Left, Qt::Key_Right, Qt::Key_Return})
        press(key);
    EXPECT_EQ(view->engine().popovers().window(), nullptr);
    EXPECT_EQ(f.workspace.opened, QStringList(u"app.1"_s));
}

TEST_F(PanelWindow, ToolRowKeepsItsFormUnderTheModifiersAndGivesLabelsUpInOrder)
{
    const auto tool = [this](const char *symbol) { return items("symbol", QLatin1String(symbol)).value(0); };
    int given = 0;
    for (int width = 700; width >= 380; width -= 4) {
        view->window().resize(width, 340);
        ASSERT_TRUE(QTest::qWaitFor([&] { return view->window().contentItem()->childItems()[0]->width() == width; }));
        QList<QString> forms;
        for (const Qt::KeyboardModifiers held : {Qt::NoModifier, Qt::AltModifier, Qt::ControlModifier}) {
            view->model().setModifiers(held);
            QString form;
            for (const QString &symbol :
                 {u"arrow.up.forward.square"_s, u"play.fill"_s, view->model().closeAllSymbol()}) {
                QQuickItem *button = tool(symbol.toLatin1());
                ASSERT_NE(button, nullptr);
                form += QString::number(button->property("compact").toInt());
            }
            forms.append(u"%1 %2"_s.arg(form).arg(tool("arrow.up.forward.square")->x()));
        }
        EXPECT_EQ(forms.count(forms[0]), 3) << width << ' ' << forms.join(u", "_s).toStdString();
        const int now = int(QStringList({u"000"_s, u"100"_s, u"110"_s, u"111"_s}).indexOf(forms[0].left(3)));
        EXPECT_GE(now, given) << width;
        given = now;
    }
    EXPECT_EQ(given, 3);
}

TEST_F(PanelWindow, AssistiveToolsReadStatesAndOfferEachActionOnce)
{
    AppGroup work = f.config.groups()[0];
    f.run(work.apps[1].bundleID);
    f.workspace.installed.remove(work.apps[2].bundleID);
    emit f.workspace.installedApplicationsChanged();
    const std::tuple<const char *, const char *, bool> rows[] = {
        {"App 1", "", false},    {"App 2", "Running", false}, {"App 3", "Not installed", false},
        {"Add Apps", "", false}, {"Work", "", true},          {"Play", "", false},
        {"Open All", "", false}};
    for (const auto &[name, description, isSelected] : rows) {
        QAccessibleInterface *item = QAccessible::queryAccessibleInterface(labelled(name));
        ASSERT_NE(item, nullptr) << name;
        EXPECT_EQ(item->text(QAccessible::Description), QLatin1String(description)) << name;
        EXPECT_EQ(bool(item->state().selected), isSelected) << name;
        EXPECT_EQ(item->actionInterface()->actionNames().count(u"Press"_s), 1) << name;
    }
    QAccessibleInterface *grid = QAccessible::queryAccessibleInterface(labelled("App 1")->parentItem()->parentItem());
    EXPECT_EQ(grid->text(QAccessible::Name), u"Work"_s) << "the list is called as the group is";
    for (const char *name : {"App 1", "Play"})
        QAccessible::queryAccessibleInterface(labelled(name))->actionInterface()->doAction(u"Press"_s);
    EXPECT_EQ(f.workspace.opened, QStringList(u"app.1"_s));
    EXPECT_EQ(grid->text(QAccessible::Name), u"Play"_s);
}

TEST_F(PanelWindow, HeldModifiersChangeTheCloseAllButtonUntilFocusIsLost)
{
    const auto labelAfter = [this](QEvent::Type type, int key, Qt::KeyboardModifiers reported) {
        QKeyEvent event(type, key, reported);
        QCoreApplication::sendEvent(&view->window(), &event);
        return items("symbol", view->model().closeAllSymbol()).value(0)->property("label").toString();
    };
    // Some window systems report the state before the key, some after it.
    EXPECT_EQ(labelAfter(QEvent::KeyPress, Qt::Key_Alt, {}), u"Quit All"_s);
    EXPECT_EQ(labelAfter(QEvent::KeyPress, Qt::Key_Alt, Qt::AltModifier), u"Quit All"_s);
    EXPECT_EQ(labelAfter(QEvent::KeyPress, Qt::Key_Control, Qt::AltModifier), u"Hide All"_s) << "the least harm";
    EXPECT_EQ(labelAfter(QEvent::KeyRelease, Qt::Key_Control, Qt::ControlModifier | Qt::AltModifier), u"Quit All"_s);
    QFocusEvent lost(QEvent::FocusOut);
    QCoreApplication::sendEvent(&view->window(), &lost);
    EXPECT_NE(labelled("Hide All"), nullptr);
}

TEST_F(PanelWindow, NewGroupPopoverAddsOnReturnRefusesBlankNamesAndLeavesItsKeysToTheMonitorFirst)
{
    struct Monitor : QObject {
        bool eventFilter(QObject *, QEvent *event) override { return uses && event->type() == QEvent::KeyPress; }
        bool uses = false;
    } monitor;
    view->setKeyMonitor(monitor);
    view->model().setProperty("sidebarExpanded", false);
    const auto open = [this] {
        click(labelled("New Group"));
        return view->engine().popovers().window();
    };
    QQuickWindow *sheet = open();
    ASSERT_NE(sheet, nullptr);
    EXPECT_EQ(view->model().property("sidebarExpanded"), false);
    ASSERT_TRUE(QTest::qWaitForWindowActive(sheet));
    for (const char *name : {"  ", "Reading "}) {
        EXPECT_EQ(view->engine().popovers().window(), sheet);
        for (const char *c = name; *c; ++c)
            QTest::keyClick(sheet, *c);
        QTest::keyClick(sheet, Qt::Key_Return);
    }
    EXPECT_EQ(view->engine().popovers().window(), nullptr);
    ASSERT_EQ(f.config.groups().size(), 3);
    EXPECT_EQ(view->selectedGroup()->name, u"Reading"_s);
    EXPECT_EQ(view->selectedGroup()->emoji, u"📁"_s);

    sheet = open();
    for (const bool uses : {true, false}) {
        monitor.uses = uses;
        QTest::keyClick(sheet, Qt::Key_Escape);
        EXPECT_EQ(view->engine().popovers().window(), uses ? sheet : nullptr);
    }
}

} // namespace
} // namespace cobblet
