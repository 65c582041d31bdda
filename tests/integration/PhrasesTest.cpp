#include "integration/CobbletShortcuts.h"
#include "integration/IntentFixture.h"

namespace cobblet {
namespace {

class PhrasesTest : public test::IntentTest {};

TEST_F(PhrasesTest, EveryPhraseThatIsOfferedIsUnderstood)
{
    QStringList offered;
    for (const AppShortcut &shortcut : CobbletShortcuts::appShortcuts()) {
        for (const QString &phrase : shortcut.phrases(text("Work"))) {
            offered.append(phrase);
            const auto request = CobbletShortcuts::understood(phrase);
            ASSERT_TRUE(request) << phrase.toStdString();
            EXPECT_EQ(*request, (GroupRequest{shortcut.intent.verb, text("Work")}));
        }
    }
    EXPECT_EQ(offered, (QStringList{text("Launch Work group in Cobblet"), text("Start Work group in Cobblet"),
                                    text("Fire up Work group in Cobblet"), text("Stop Work group in Cobblet"),
                                    text("End Work group in Cobblet"), text("Wind down Work group in Cobblet"),
                                    text("Show Work group in Cobblet"), text("Bring up Work group in Cobblet"),
                                    text("Go to Work group in Cobblet")}));
}

TEST_F(PhrasesTest, ThePhraseMayBeSaidFreelyAndTheNameIsKept)
{
    struct Row {
        const char *phrase;
        const char *group;
    };
    for (const Row &row :
         {Row{"LAUNCH work GROUP IN COBBLET", "work"},
          Row{"  fire \t up  My  Work\n group  in cobblet . ", "My  Work"},
          Row{"launch Work group in Cobblet.", "Work"},
          Row{"launch group in Cobblet group in Cobblet", "group in Cobblet"},
          Row{"start a group in b group in Cobblet", "a group in b"}, Row{"show Fire up group in Cobblet", "Fire up"},
          Row{"go to U.S. group in Cobblet", "U.S."}, Row{"launch 🧪 group in Cobblet", "🧪"},
          Row{"launch group group in Cobblet", "group"}}) {
        const auto request = CobbletShortcuts::understood(text(row.phrase));
        ASSERT_TRUE(request) << row.phrase;
        EXPECT_EQ(request->group.toStdString(), row.group) << row.phrase;
    }
    for (const char *other :
         {"launch group in Cobblet", "launch Work group in Cobblet..", "launch Work", "launchWork group in Cobblet",
          "launch Workgroup in Cobblet", "launch Work group in Cobblets", "please launch Work group in Cobblet",
          "fire Work group in Cobblet", "hide Work group in Cobblet", ".", ""})
        EXPECT_FALSE(CobbletShortcuts::understood(text(other))) << other;
}

} // namespace
} // namespace cobblet
