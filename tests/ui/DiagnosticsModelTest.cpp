#include "ui/settings/DiagnosticsModel.h"
#include "ui/common/AppChooser.h"

#include "integration/Diagnostics.h"
#include "support/GroupsFixture.h"
#include <QTest>

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

struct DiagnosticsModelTest : testing::Test, test::GroupsFixture {
    static QString listed(const DiagnosticsRows *rows)
    {
        QStringList list;
        for (const DiagnosticsRow &row : rows->rows())
            list.append(row.title + u':' + row.sentence);
        return list.join(u'|');
    }

    CapabilitiesAnswer later;
    test::FakePasteboard pasteboard;
    Diagnostics diagnostics{{Diagnostics::row(u"Dock"_s, [] { return Availability::partly(u"Half."_s); }),
                             {u"Bus"_s, [this](const CapabilitiesAnswer &answer) { later = answer; }}},
                            {running, workspace, scheduler},
                            u"1"_s};
};

TEST_F(DiagnosticsModelTest, ShowsAnswersAsTheyComeAndCorrectsWhatWasTakenForAnother)
{
    workspace.install(u"org.mail"_s, u"Mail\nx"_s);
    workspace.install(u"org.notes"_s, u"Notes"_s);
    running.running = {{{}, 1}, {u"org.notes"_s, 2}, {u"org.mail"_s, 3}};
    running.recognitions = {{1, {u"Unknown."_s, u"class a, A"_s}}, {3, {u"By class."_s, {}}}};
    DiagnosticsModel model(diagnostics, workspace, pasteboard);
    EXPECT_EQ(listed(model.services()), u"Dock:Half."_s);
    later({{u"Bus"_s, Availability::works(u"All."_s)}});
    EXPECT_EQ(listed(model.services()), u"Dock:Half.|Bus:All."_s);
    EXPECT_EQ(listed(model.applications()), u"Mail x:By class.|Notes:|Not recognised:Unknown.\nclass a, A"_s);

    EXPECT_FALSE(model.makeChooser(0, nullptr));
    const std::unique_ptr<AppChooser> chooser(model.makeChooser(2, nullptr));
    ASSERT_TRUE(chooser && QTest::qWaitFor([&] { return chooser->isReady(); }));
    running.launch({u"org.notes"_s, 4}); // rows move while the list is open
    for (const int row : {0, 1})
        chooser->toggle(row);
    EXPECT_EQ(chooser->chosenCount(), 1) << "it is one application";
    EXPECT_TRUE(chooser->add(-1));
    EXPECT_EQ(running.corrected, (QList<Correction>{{u"class a, A"_s, u"org.notes"_s}}));
    EXPECT_EQ(listed(model.corrections()), u"Notes:class a, A"_s);
    running.correctionOutcome = Error{u"Full."_s};
    model.removeCorrection(0);
    EXPECT_EQ(model.failure(), u"Full."_s);
    EXPECT_EQ(listed(model.corrections()), QString());

    EXPECT_EQ(model.applications()->rowCount(), 4) << "what runs is followed while the page is open";
    model.copyReport();
    EXPECT_TRUE(model.isCopied() && pasteboard.text.contains(u"Bus: works\n    All.\n"_s));
}

} // namespace
} // namespace cobblet
