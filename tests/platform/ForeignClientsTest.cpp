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
    const struct {
        const char *child, *interface;
        QStringList rows;
    } cases[] = {
        {"",
         "com.vantor.cobblet.Groups",
         {QStringLiteral(".Find method s a(sss) -"), QStringLiteral(".Hide method s sa(ssss) -"),
          QStringLiteral(".Launch method s sa(ssss) -"), QStringLiteral(".List method - a(sss) -"),
          QStringLiteral(".Quit method s sa(ssss) -"), QStringLiteral(".Say method s sa(ssss) -"),
          QStringLiteral(".Show method sa{sv} - -"), QStringLiteral(".GroupsChanged signal - - -")}},
        {"", "com.vantor.cobblet.CommandLine", {QStringLiteral(".Run method aaya{sv} iss -")}},
        {"",
         "org.freedesktop.Application",
         {QStringLiteral(".Activate method a{sv} - -"), QStringLiteral(".ActivateAction method sava{sv} - -"),
          QStringLiteral(".Open method asa{sv} - -")}},
        {"/SearchProvider",
         "org.gnome.Shell.SearchProvider2",
         {QStringLiteral(".ActivateResult method sasu - -"), QStringLiteral(".GetInitialResultSet method as as -"),
          QStringLiteral(".GetResultMetas method as aa{sv} -"),
          QStringLiteral(".GetSubsearchResultSet method asas as -"), QStringLiteral(".LaunchSearch method asu - -")}},
        {"/Runner",
         "org.kde.krunner1",
         {QStringLiteral(".Actions method - a(sss) -"), QStringLiteral(".Config method - a{sv} -"),
          QStringLiteral(".Match method s a(sssida{sv}) -"), QStringLiteral(".Run method ss - -"),
          QStringLiteral(".SetActivationToken method s - -"), QStringLiteral(".Teardown method - - -")}},
    };
    for (const auto &each : cases) {
        const QString path = QStringLiteral("/com/vantor/cobblet") + QLatin1String(each.child);
        const QString listed = output(QStringLiteral("busctl"),
                                      {QStringLiteral("--user"), QStringLiteral("introspect"),
                                       QStringLiteral("com.vantor.cobblet"), path, QLatin1String(each.interface)});
        QStringList rows;
        for (const QString &line : listed.split(u'\n', Qt::SkipEmptyParts).mid(1))
            rows.append(line.simplified());
        EXPECT_EQ(rows, each.rows) << qPrintable(listed);
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
