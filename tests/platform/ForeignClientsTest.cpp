// The interfaces as other desktops' tools see them: gdbus and busctl, and the calls that the documentation shows.
#include "IntentsFixture.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

using namespace cobblet;
using namespace cobblet::test;

namespace {

class ForeignClientsTest : public IntentsTest {
protected:
    /// A method of the object below the main one, called with gdbus.
    QString gdbus(const QString &child, const QString &method, const QStringList &arguments)
    {
        return output(QStringLiteral("gdbus"),
                      QStringList{QStringLiteral("call"), QStringLiteral("--session"), QStringLiteral("--dest"),
                                  QStringLiteral("com.vantor.cobblet"), QStringLiteral("--object-path"),
                                  QStringLiteral("/com/vantor/cobblet") + child, QStringLiteral("--method"), method} +
                          arguments)
            .trimmed();
    }
};

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

TEST_F(ForeignClientsTest, ASearchGoesAsTheShellDrivesIt)
{
    intents->serve(requests);
    const QString provider = QStringLiteral("/SearchProvider");
    const auto method = [](const char *name) {
        return QStringLiteral("org.gnome.Shell.SearchProvider2.") + QLatin1String(name);
    };
    const QString work = QStringLiteral("show:") + requests.stored[0].id;
    const QString homework = QStringLiteral("show:") + requests.stored[1].id;
    EXPECT_EQ(gdbus(provider, method("GetInitialResultSet"), {QStringLiteral("['wo']")}),
              QStringLiteral("(['%1', '%2'],)").arg(work, homework));
    EXPECT_EQ(gdbus(provider, method("GetResultMetas"), {QStringLiteral("['%1', '%2']").arg(work, homework)}),
              QStringLiteral("([{'description': <'Show Group'>, 'gicon': <'com.vantor.cobblet'>, 'id': <'%1'>, "
                             "'name': <'💼 Work'>}, {'description': <'Show Group'>, 'gicon': <'com.vantor.cobblet'>, "
                             "'id': <'%2'>, 'name': <'📚 Homework'>}],)")
                  .arg(work, homework));
    EXPECT_EQ(gdbus(provider, method("GetSubsearchResultSet"),
                    {QStringLiteral("['%1', '%2']").arg(work, homework), QStringLiteral("['homew']")}),
              QStringLiteral("(['%1'],)").arg(homework));
    EXPECT_EQ(gdbus(provider, method("GetSubsearchResultSet"), {QStringLiteral("[]"), QStringLiteral("['mus']")}),
              QStringLiteral("(['show:%1'],)").arg(requests.stored[2].id))
        << "what only the longer text fits is found";
    EXPECT_EQ(gdbus(provider, method("GetInitialResultSet"), {QStringLiteral("['nothing', 'at', 'all']")}),
              QStringLiteral("(@as [],)"));
    EXPECT_EQ(gdbus(provider, method("GetResultMetas"), {QStringLiteral("['show:gone']")}),
              QStringLiteral("(@aa{sv} [],)"));
    requests.log.clear();
    EXPECT_EQ(
        gdbus(provider, method("ActivateResult"), {homework, QStringLiteral("['homew']"), QStringLiteral("77")}),
        QStringLiteral("()"));
    EXPECT_EQ(gdbus(provider, method("LaunchSearch"), {QStringLiteral("['homew']"), QStringLiteral("78")}),
              QStringLiteral("()"));
    EXPECT_EQ(requests.log, (QStringList{QStringLiteral("time 77"), QStringLiteral("match ") + homework,
                                         QStringLiteral("time 78"), QStringLiteral("panel")}));
}

TEST_F(ForeignClientsTest, TheRunnerFindsAndRuns)
{
    intents->serve(requests);
    const QString child = QStringLiteral("/Runner");
    const auto method = [](const char *name) { return QStringLiteral("org.kde.krunner1.") + QLatin1String(name); };
    EXPECT_EQ(gdbus(child, method("Actions"), {}), QStringLiteral("(@a(sss) [],)"));
    EXPECT_EQ(gdbus(child, method("Config"), {}), QStringLiteral("(@a{sv} {},)"));
    EXPECT_EQ(gdbus(child, method("Match"), {QStringLiteral("Work")}),
              QStringLiteral("([('show:%1', '💼 Work', 'com.vantor.cobblet', 100, 1.0, {'actions': <@as []>, "
                             "'subtext': <'Show Group'>}), ('show:%2', '📚 Homework', 'com.vantor.cobblet', 30, 0.5, "
                             "{'actions': <@as []>, 'subtext': <'Show Group'>})],)")
                  .arg(requests.stored[0].id, requests.stored[1].id));
    EXPECT_EQ(gdbus(child, method("Match"), {QString()}), QStringLiteral("(@a(sssida{sv}) [],)"));
    EXPECT_EQ(gdbus(child, method("Run"), {QStringLiteral("show:") + requests.stored[0].id, QString()}),
              QStringLiteral("()"));
    EXPECT_EQ(requests.log.last(), QStringLiteral("match show:") + requests.stored[0].id);
    EXPECT_EQ(gdbus(child, method("Teardown"), {}), QStringLiteral("()"));
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
