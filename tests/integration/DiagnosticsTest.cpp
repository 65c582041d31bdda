#include "integration/Diagnostics.h"
#include "support/FakeDesktop.h"
#include "support/VirtualScheduler.h"

#include <gtest/gtest.h>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

struct DiagnosticsTest : testing::Test {
    test::FakeWorkspace workspace;
    test::FakeRunningApplications running;
    test::VirtualScheduler clock;
    const Diagnostics::Services services{running, workspace, clock};
    /// Nobody's home, for tests that are not about it.
    const Person nobody;
};

TEST_F(DiagnosticsTest, AnswersStandInTheOrderOfTheirSourcesAndOneThatNeverComesIsTold)
{
    std::vector<CapabilitiesAnswer> asked;
    const auto later = [&asked](const CapabilitiesAnswer &answer) { asked.push_back(answer); };
    Diagnostics diagnostics(
        {{u"Bus"_s, later}, Diagnostics::row(u"Dock"_s, [] { return Availability::works(); }), {u"Search"_s, later}},
        services, u"1"_s, {u"Emoji"_s});
    int ready = 0;
    QObject::connect(&diagnostics, &Diagnostics::ready, &diagnostics, [&] { ++ready; });
    const auto titles = [&] {
        QStringList list;
        for (const auto &[title, state] : diagnostics.rows())
            list.append(title + QString::number(int(state.level)));
        return list.join(u' ');
    };
    diagnostics.refresh();
    EXPECT_EQ(titles(), u"Dock0"_s);
    asked[1]({{u"GNOME"_s, {}}, {u"KRunner"_s, Availability::unavailable(u"No."_s)}});
    EXPECT_EQ(titles(), u"Dock0 GNOME0 KRunner2"_s);
    EXPECT_EQ(ready, 0);
    clock.advance(Diagnostics::patience);
    EXPECT_EQ(titles(), u"Bus1 Dock0 GNOME0 KRunner2"_s);
    EXPECT_EQ(ready, 1);
    asked[0]({{u"Bus"_s, {}}}); // late, and yet better than none
    EXPECT_EQ(titles(), u"Bus0 Dock0 GNOME0 KRunner2"_s);

    diagnostics.refresh();
    asked[0]({{u"Old"_s, {}}});
    EXPECT_EQ(titles(), u"Bus0 Dock0 GNOME0 KRunner2"_s) << "an answer to what was asked before";
    for (const size_t i : {2u, 3u})
        asked[i]({});
    EXPECT_EQ(ready, 2);
    EXPECT_TRUE(diagnostics.report(nobody).contains(u"Known only while Cobblet runs: Emoji.\n"_s));
}

TEST_F(DiagnosticsTest, TheReportTellsNobodyWhoThePersonIs)
{
    struct Row {
        Person person;
        QString sentence, told;
    };
    const Person maria{{u"/home/maria"_s, u"/data/Maria/home/"_s},
                       {u"maria"_s, u"Maria Muster"_s, u"box.lan"_s, u"box"_s}};
    for (const Row &row :
         {Row{maria, u"In /home/maria/.config/x and /home/maria. At /data/maria/a, /home/mariana/b."_s,
              u"In ~/.config/x and ~. At /data/…/a, /home/…na/b."_s},
          Row{maria, u"/data/Maria/home/x (Maria Muster's) on BOX.LAN: toolbox, xMARIAx\nmaria\x1b[31m"_s,
              u"~/x (…'s) on …: tool…, x…x\uFFFD…\uFFFD[31m"_s},
          Row{{{u"/"_s, QString()}, {QString(), u" "_s, u"."_s}}, u"/etc/x. y"_s, u"/etc/x. y"_s},
          Row{{{u"/home/a.b+c"_s}, {u"a.b+c"_s}}, u"/home/a.b+c/d axb+c a.b+c"_s, u"~/d axb+c …"_s},
          Row{{{u"/home/josé"_s}, {u"josé"_s}}, u"/home/josé/d JOSÉ"_s, u"~/d …"_s}}) {
        running.running = {{row.sentence, 1}, {{}, 2}};
        running.recognitions[2] = {row.sentence, row.sentence};
        running.corrected = {{row.sentence, row.sentence}};
        Diagnostics diagnostics({Diagnostics::row(row.sentence, [&] { return Availability::partly(row.sentence); })},
                                services, u"1"_s);
        diagnostics.refresh();
        const QString report = diagnostics.report(row.person);
        EXPECT_EQ(report.count(row.told), 7) << report.toStdString();
        for (const QString &name : row.person.names)
            if (!name.trimmed().isEmpty() && name != u"."_s) {
                EXPECT_FALSE(report.contains(name, Qt::CaseInsensitive)) << report.toStdString();
            }
    }
}

} // namespace
} // namespace cobblet
