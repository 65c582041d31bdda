#include "platform/portable/QtDialogs.h"
#include "platform/portable/QtMenus.h"
#include "support/Test.h"

#include <QAbstractButton>
#include <QApplication>
#include <QColorDialog>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QTextDocument>
#include <QTextDocumentFragment>

namespace cobblet {
namespace {

TEST(QtDialogs, AnAlertAnswersWithTheButtonPressedOrNothingWhenCancelled)
{
    const Alert alert{.message = u"Import?"_s,
                      .informativeText = u"R&D &amp; <b>Group</b>\nA < B"_s,
                      .details = u"Every group"_s,
                      .buttons = {{u"Replace"_s, true}, {u"Merge"_s}, {u"No"_s}},
                      .defaultButton = 1,
                      .cancelButton = 2};
    QtDialogs dialogs;
    const std::pair<Qt::Key, std::optional<int>> rows[] = {
        {Qt::Key_Return, 1}, {Qt::Key_Escape, {}}, {Qt::Key(), 0}}; // the last one is a click on "Replace"
    for (const auto &[key, answer] : rows) {
        QList<std::optional<int>> answers;
        dialogs.ask(alert, [&](std::optional<int> button) { answers.append(button); });
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        const auto *label = box->findChild<QLabel *>(u"qt_msgbox_informativelabel"_s);
        ASSERT_NE(label, nullptr);
        const bool isMarkup = label->textFormat() == Qt::AutoText && Qt::mightBeRichText(label->text());
        EXPECT_EQ(isMarkup ? QTextDocumentFragment::fromHtml(label->text()).toPlainText() : label->text(),
                  alert.informativeText);
        if (key)
            QTest::keyClick(box, key);
        for (QAbstractButton *button : key ? QList<QAbstractButton *>() : box->buttons())
            if (button->text() == u"Replace"_s)
                button->click();
        EXPECT_EQ(answers, QList{answer});
        QTest::qWait(0);
    }
}

class QtFilePanels : public testing::Test {
protected:
    QtFilePanels()
    {
        QDir(home.path()).mkpath(u"Some.app/Contents"_s);
        QDir(home.path()).mkdir(u"Folder"_s);
        QFile(home.filePath(u"one.desktop"_s)).open(QIODevice::WriteOnly);
    }
    QFileDialog &panel() const { return *qobject_cast<QFileDialog *>(QApplication::activeModalWidget()); }
    /// Types names, and presses Return.
    void type(const QString &names) const
    {
        auto *line = panel().findChild<QLineEdit *>();
        line->setText(names);
        QTest::keyClick(line, Qt::Key_Return);
    }
    void TearDown() override { QTest::qWait(0); } // the panels go

    QTemporaryDir home;
    QtDialogs dialogs;
};

TEST_F(QtFilePanels, PackagesAreChosenLikeFilesAndOtherFoldersAreEntered)
{
    const std::pair<const char *, QStringList> rows[] = {{"Some.app", {home.filePath(u"Some.app"_s)}},
                                                         {"Folder", {}},
                                                         {"one.desktop", {home.filePath(u"one.desktop"_s)}}};
    for (const auto &[name, expected] : rows) {
        QStringList chosen;
        dialogs.chooseFiles({.folder = home.path(), .multiple = true, .package = u"app"_s},
                            [&](const QStringList &paths) { chosen = paths; });
        type(QLatin1String(name));
        EXPECT_EQ(chosen, expected) << name;
        if (expected.isEmpty())
            panel().reject();
    }
}

TEST(QtDialogs, ColorsAreToldAsTheyAreTriedAndNothingOnceTheDialogIsCancelled)
{
    QList<std::optional<QColor>> tried;
    QtDialogs().chooseColor(u"Tile color"_s, Qt::red,
                            [&](const std::optional<QColor> &color) { tried.append(color); });
    auto *dialog = qobject_cast<QColorDialog *>(QApplication::activeModalWidget());
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->currentColor(), QColor(Qt::red));
    EXPECT_EQ(dialog->windowModality(), Qt::WindowModal);
    dialog->setCurrentColor(Qt::blue);
    QTest::keyClick(dialog, Qt::Key_Escape);
    EXPECT_EQ(tried, QList<std::optional<QColor>>({QColor(Qt::blue), std::nullopt}));
}

TEST_F(QtFilePanels, SavingProposesANameAppendsTheSuffixAndAnswersWithNothingWhenCancelled)
{
    QStringList answers;
    for (const bool cancels : {false, true}) {
        dialogs.saveFile({.folder = home.path(), .name = u"Backup"_s, .suffix = u"json"_s},
                         [&](const std::optional<QString> &path) { answers.append(path.value_or(QString())); });
        EXPECT_EQ(panel().selectedFiles(), QStringList(home.filePath(u"Backup.json"_s)));
        cancels ? panel().reject() : type(u"Mine"_s);
    }
    EXPECT_EQ(answers, QStringList({home.filePath(u"Mine.json"_s), {}}));
}

TEST(QtMenus, AreDrawnInTheProgramsColoursWithRoundedCornersWhetherWindowsAreBlendedOrNot)
{
    QtMenus menus;
    const auto nothing = [] {};
    for (const bool blends : {false, true}) {
        menus.setLook([blends](const QWindow *) { return MenuLook{.background = Qt::darkGreen, .blends = blends}; });
        menus.popUp({{.title = u"Open"_s, .action = nothing},
                     {.title = u"Move to"_s, .children = {{.title = u"Play"_s, .action = nothing}}}},
                    nullptr, {});
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        for (QMenu *shown : {menu, menu->actions().last()->menu()}) {
            shown->popup({});
            const QImage image = shown->grab().toImage();
            EXPECT_EQ(image.pixelColor(image.width() / 2, 2), QColor(Qt::darkGreen)) << blends;
            EXPECT_EQ(image.pixelColor(0, 0).alpha(), blends ? 0 : 255);
            EXPECT_EQ(shown->mask().isEmpty() || shown->mask().contains(QPoint(0, 0)), blends);
        }
        menu->close();
    }
}

TEST(QtMenus, OpensAtTheCurrentEntryAndGoesToTheOneThatIsTyped)
{
    QtMenus menus;
    QList<MenuItem> items;
    for (int i = 0; i < 300; ++i)
        items.append(
            {.title = i == 120 ? u"Über uns"_s : u"Group %1"_s.arg(i), .action = [] {}, .isCurrent = i == 250});
    menus.popUp(items, nullptr, {});
    auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    for (const auto &[typed, at] : {std::pair(u""_s, 250), {u"ü"_s, 120}}) {
        if (!typed.isEmpty()) {
            QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, typed);
            QApplication::sendEvent(menu, &press);
        }
        EXPECT_EQ(menu->actions().indexOf(menu->activeAction()), at);
    }
    menu->close();
}

} // namespace
} // namespace cobblet
