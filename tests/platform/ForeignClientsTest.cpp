// The interfaces as other desktops' tools see them: gdbus and busctl, and the calls that the documentation shows.
#include "IntentsFixture.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace cobblet;
using namespace cobblet::test;

namespace {

class ForeignClientsTest : public IntentsTest {};

TEST_F(ForeignClientsTest, EveryMethodIsThereWithTheSignatureOfItsStandard)
{
    const QString interfaces = QStringLiteral(R"(
/com/vantor/cobblet com.vantor.cobblet.Groups
.Find method s a(sss) -
.Hide method s sa(ssss) -
.Launch method s sa(ssss) -
.List method - a(sss) -
.Quit method s sa(ssss) -
.Say method s sa(ssss) -
.Show method sa{sv} - -
.GroupsChanged signal - - -
/com/vantor/cobblet com.vantor.cobblet.CommandLine
.Run method aaya{sv} iss -
/com/vantor/cobblet org.freedesktop.Application
.Activate method a{sv} - -
.ActivateAction method sava{sv} - -
.Open method asa{sv} - -
/com/vantor/cobblet/SearchProvider org.gnome.Shell.SearchProvider2
.ActivateResult method sasu - -
.GetInitialResultSet method as as -
.GetResultMetas method as aa{sv} -
.GetSubsearchResultSet method asas as -
.LaunchSearch method asu - -
/com/vantor/cobblet/Runner org.kde.krunner1
.Actions method - a(sss) -
.Config method - a{sv} -
.Match method s a(sssida{sv}) -
.Run method ss - -
.SetActivationToken method s - -
.Teardown method - - -)");
    for (const QString &interface : interfaces.split(QStringLiteral("\n/"), Qt::SkipEmptyParts)) {
        const QStringList expected = interface.split(u'\n'), place = expected[0].split(u' ');
        const QString listed =
            output(QStringLiteral("busctl"), {QStringLiteral("--user"), QStringLiteral("introspect"),
                                              QStringLiteral("com.vantor.cobblet"), u'/' + place[0], place[1]});
        QStringList rows;
        for (const QString &line : listed.split(u'\n', Qt::SkipEmptyParts).mid(1))
            rows.append(line.simplified());
        EXPECT_EQ(rows, expected.mid(1)) << qPrintable(listed);
    }
    const QString main =
        output(QStringLiteral("gdbus"), {QStringLiteral("introspect"), QStringLiteral("--session"),
                                         QStringLiteral("--dest"), QStringLiteral("com.vantor.cobblet"),
                                         QStringLiteral("--object-path"), QStringLiteral("/com/vantor/cobblet")});
    for (const QString &part : {QStringLiteral("Show(in  s group,\n           in  a{sv} platform_data);"),
                                QStringLiteral("node SearchProvider {"), QStringLiteral("node Runner {"),
                                QStringLiteral("org.gtk.GDBus.DocString(\"All groups in their order")})
        EXPECT_TRUE(main.contains(part)) << qPrintable(part) << " in\n" << qPrintable(main);
}

TEST_F(ForeignClientsTest, SearchesGoAsDesktopsDriveThem)
{
    intents->serve(requests);
    const struct {
        const char *method, *arguments, *answer; // with W, H and M for the identifiers of the groups
    } cases[] = {
        {"SearchProvider org.gnome.Shell.SearchProvider2.GetInitialResultSet", "['wo']", "(['show:W', 'show:H'],)"},
        {"SearchProvider org.gnome.Shell.SearchProvider2.GetInitialResultSet", "['not', 'at', 'all']", "(@as [],)"},
        {"SearchProvider org.gnome.Shell.SearchProvider2.GetResultMetas", "['show:W', 'show:gone']",
         "([{'description': <'Show Group'>, 'gicon': <'com.vantor.cobblet'>, 'id': <'show:W'>, 'name': <'💼 "
         "Work'>}],)"},
        {"SearchProvider org.gnome.Shell.SearchProvider2.GetResultMetas", "['show:gone']", "(@aa{sv} [],)"},
        {"SearchProvider org.gnome.Shell.SearchProvider2.GetSubsearchResultSet", "['show:W', 'show:H'] ['homew']",
         "(['show:H'],)"},
        // What only the longer text fits is found.
        {"SearchProvider org.gnome.Shell.SearchProvider2.GetSubsearchResultSet", "[] ['mus']", "(['show:M'],)"},
        {"Runner org.kde.krunner1.Actions", "", "(@a(sss) [],)"},
        {"Runner org.kde.krunner1.Config", "", "(@a{sv} {},)"},
        {"Runner org.kde.krunner1.Match", "Work",
         "([('show:W', '💼 Work', 'com.vantor.cobblet', 100, 1.0, {'actions': <@as []>, 'subtext': <'Show Group'>}), "
         "('show:H', '📚 Homework', 'com.vantor.cobblet', 30, 0.5, "
         "{'actions': <@as []>, 'subtext': <'Show Group'>})],)"},
        {"Runner org.kde.krunner1.Teardown", "", "()"},
    };
    const auto full = [this](const char *text) {
        QString result = QString::fromUtf8(text);
        for (const IntentGroup &group : std::as_const(requests.stored))
            result.replace(QStringLiteral("show:") + group.name[0] + u'\'',
                           QStringLiteral("show:") + group.id + u'\'');
        return result;
    };
    for (const auto &each : cases) {
        const QStringList target = QString::fromUtf8(each.method).split(u' ');
        QStringList command{QStringLiteral("call"),          QStringLiteral("--session"),
                            QStringLiteral("--dest"),        QStringLiteral("com.vantor.cobblet"),
                            QStringLiteral("--object-path"), QStringLiteral("/com/vantor/cobblet/") + target[0],
                            QStringLiteral("--method"),      target[1]};
        command += full(each.arguments)
                       .replace(QStringLiteral("] ["), QStringLiteral("]|["))
                       .split(u'|', Qt::SkipEmptyParts);
        EXPECT_EQ(output(QStringLiteral("gdbus"), command).trimmed(), full(each.answer)) << each.method;
    }
}

/// Every block marked "console" has commands after "$ ", each followed by what it prints.
TEST_F(ForeignClientsTest, TheDocumentedCallsAnswerAsDocumented)
{
    intents->serve(requests);
    QFile file(QStringLiteral(DOCUMENTED_CALLS));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(file.readAll());
    QRegularExpressionMatchIterator blocks =
        QRegularExpression(QStringLiteral("```console\\n(.*?)```"), QRegularExpression::DotMatchesEverythingOption)
            .globalMatch(text);
    int ran = 0;
    while (blocks.hasNext()) {
        const QString block = blocks.next().captured(1);
        for (const QString &step : (u'\n' + block).split(QStringLiteral("\n$ "), Qt::SkipEmptyParts)) {
            const QString command = step.section(u'\n', 0, 0);
            const QString expected = step.section(u'\n', 1).trimmed();
            const QString said = output(QStringLiteral("sh"), {QStringLiteral("-c"), command}).trimmed();
            EXPECT_EQ(said, expected) << qPrintable(command);
            ++ran;
        }
    }
    EXPECT_GE(ran, 8);
}

TEST_F(ForeignClientsTest, AChangeOfTheGroupsIsAnnounced)
{
    QProcess monitor;
    monitor.start(QStringLiteral("gdbus"), {QStringLiteral("monitor"), QStringLiteral("--session"),
                                            QStringLiteral("--dest"), QStringLiteral("com.vantor.cobblet"),
                                            QStringLiteral("--object-path"), QStringLiteral("/com/vantor/cobblet")});
    QString seen;
    const auto says = [&](const char *part) {
        return QTest::qWaitFor(
            [&] {
                seen += QString::fromUtf8(monitor.readAllStandardOutput());
                return seen.contains(QLatin1String(part));
            },
            30'000);
    };
    EXPECT_TRUE(says("is owned by")) << qPrintable(seen);
    intents->groupsChanged();
    EXPECT_TRUE(says("com.vantor.cobblet.Groups.GroupsChanged ()")) << qPrintable(seen);
    monitor.kill();
    monitor.waitForFinished();
}

} // namespace
