#include "platform/portable/QtDialogs.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QTest>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

TEST(QtDialogs, AnAlertAnswersWithTheButtonPressedOrNothingWhenCancelled)
{
    const Alert alert{.message = u"Import?"_s,
                      .informativeText = u"<b>Group</b>"_s,
                      .details = u"Every group"_s,
                      .buttons = {{u"Replace"_s, true}, {u"Merge"_s}, {u"No"_s}},
                      .defaultButton = 1,
                      .cancelButton = 2};
    const auto press = [](const QString &label) {
        return [label](QMessageBox &box) {
            for (QAbstractButton *button : box.buttons())
                if (button->text() == label)
                    return button->click();
            FAIL() << label.toStdString();
        };
    };
    const std::pair<std::function<void(QMessageBox &)>, std::optional<int>> rows[] = {
        {press(u"Replace"_s), 0},
        {[](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Return); }, 1},
        {[](QMessageBox &box) { QTest::keyClick(&box, Qt::Key_Escape); }, {}},
    };
    QtDialogs dialogs;
    for (const auto &[act, answer] : rows) {
        QList<std::optional<int>> answers;
        dialogs.ask(alert, [&](std::optional<int> button) { answers.append(button); });
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->informativeText(), u"&lt;b&gt;Group&lt;/b&gt;"_s);
        act(*box);
        EXPECT_EQ(answers, QList{answer}) << "row " << &act - &rows[0].first;
        QTest::qWait(0);
    }
}

} // namespace
} // namespace cobblet
