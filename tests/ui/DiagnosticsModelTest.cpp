#include "ui/settings/DiagnosticsModel.h"
#include "integration/Diagnostics.h"
#include "support/GroupsFixture.h"

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

    model.correct(0, u"org.notes"_s);
    model.correct(3, u"org.notes"_s);
    EXPECT_TRUE(running.corrected.isEmpty()) << "neither has what it could be known by again";
    model.correct(2, u"org.notes"_s);
    EXPECT_EQ(running.corrected, (QList<Correction>{{u"class a, A"_s, u"org.notes"_s}}));
    EXPECT_EQ(listed(model.corrections()), u"Notes:class a, A"_s);
    running.correctionOutcome = Error{u"Full."_s};
    model.removeCorrection(0);
    EXPECT_EQ(model.failure(), u"Full."_s);
    EXPECT_EQ(listed(model.corrections()), QString());

    running.launch({u"org.mail"_s, 4});
    EXPECT_EQ(model.applications()->rowCount(), 4) << "what runs is followed while the page is open";
    model.copyReport();
    EXPECT_TRUE(model.isCopied() && pasteboard.text.contains(u"Bus: works\n    All.\n"_s));
}

} // namespace
} // namespace cobblet
