#include "platform/portable/QtDialogs.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

template<class Dialog>
Dialog *open()
{
    return qobject_cast<Dialog *>(QApplication::activeModalWidget());
}

TEST(QtDialogs, AnAlertAnswersWithTheButtonPressedOrNothingWhenCancelled)
{
    const Alert alert{
        .message = QStringLiteral("Import?"),
        .informativeText = QStringLiteral("<b>Group</b>"),
        .details = QStringLiteral("Every group"),
        .buttons = {{QStringLiteral("Replace"), true}, {QStringLiteral("Merge")}, {QStringLiteral("No")}},
        .defaultButton = 1,
        .cancelButton = 2};
    struct Row {
        const char *what;
        std::function<void(QMessageBox &)> act;
        std::optional<int> answer;
    };
    const auto press = [](const char *label) {
        return [label](QMessageBox &box) {
            for (QAbstractButton *button : box.buttons())
                if (button->text() == QLatin1String(label))
                    return button->click();
            FAIL() << label;
        };
    };
    const Row rows[] = {
        {"the first", press("Replace"), 0},
        {"the second", press("Merge"), 1},
        {"the cancel button", press("No"), {}},
        {"Return", [](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Return); }, 1},
        {"Escape", [](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Escape); }, {}},
        {"closing", [](QMessageBox &box) { box.close(); }, {}},
    };
    QtDialogs dialogs;
    for (const Row &row : rows) {
        QList<std::optional<int>> answers;
        dialogs.ask(alert, [&](std::optional<int> button) { answers.append(button); });
        auto *box = open<QMessageBox>();
        ASSERT_NE(box, nullptr) << row.what;
        EXPECT_EQ(box->informativeText(), QStringLiteral("&lt;b&gt;Group&lt;/b&gt;"));
        row.act(*box);
        EXPECT_EQ(answers, QList<std::optional<int>>{row.answer}) << row.what;
        QTest::qWait(0);
    }
}

TEST(QtDialogs, AFileIsSavedUnderTheProposedNameOrWithTheSuffix)
{
    const QTemporaryDir folder;
    const FileRequest request{.title = QStringLiteral("Export"),
                              .acceptLabel = QStringLiteral("Save"),
                              .folder = folder.path(),
                              .name = QStringLiteral("Backup.json"),
                              .suffix = QStringLiteral("json")};
    const std::pair<const char *, const char *> cases[] = {{nullptr, "/Backup.json"}, {"mine", "/mine.json"}};
    QtDialogs dialogs;
    for (const auto &[typed, path] : cases) {
        std::optional<QString> saved;
        dialogs.saveFile(request, [&](const std::optional<QString> &chosen) { saved = chosen; });
        auto *panel = open<QFileDialog>();
        ASSERT_NE(panel, nullptr);
        if (typed)
            panel->findChild<QLineEdit *>()->setText(QLatin1String(typed));
        static_cast<QDialog *>(panel)->accept();
        EXPECT_EQ(saved, folder.path() + QLatin1String(path));
        QTest::qWait(0);
    }
    std::optional<QString> saved = QStringLiteral("unanswered");
    dialogs.saveFile(request, [&](const std::optional<QString> &chosen) { saved = chosen; });
    open<QFileDialog>()->reject();
    EXPECT_EQ(saved, std::nullopt);
}

} // namespace
} // namespace cobblet
