#undef signals // GIO has members of that name
#include <gio/gdesktopappinfo.h>
#define signals Q_SIGNALS

#include "DesktopFixture.h"

#include "platform/freedesktop/apps/DesktopEntryRegistry.h"

#include <QBuffer>
#include <QDateTime>
#include <QDirIterator>
#include <QImage>
#include <QProcess>

#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

using namespace cobblet;
using namespace cobblet::test;

const QString agents = u"com.cobblet.agent."_s;
const QString identifier = agents + u"0A1B2C3D-0000-4000-8000-00000000FFEE"_s;

DockMenuItem item(const QString &action, const QString &title)
{
    return {action, title, u"org.example.App"_s};
}

QList<IconFileImage> icons(const QList<int> &sides, Qt::GlobalColor colour)
{
    QList<IconFileImage> images;
    for (const int side : sides) {
        QImage image(side, side, QImage::Format_RGBA8888);
        image.fill(colour);
        QBuffer buffer(&images.emplace_back(IconFileImage{side, {}, {}}).png);
        image.save(&buffer, "PNG");
    }
    return images;
}

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

ino_t inode(const QString &path)
{
    struct stat status {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

QString taken(char *text)
{
    const std::unique_ptr<char, decltype(&g_free)> owned(text, g_free);
    return QString::fromUtf8(text);
}

class DesktopEntryRegistryTest : public DesktopFixture {
protected:
    /// A bundle whose program writes down how it was started.
    Registration bundle(const QString &name = u"Work"_s, const QString &folder = u"Applications/Group.app"_s) const
    {
        const QString path = home.path(folder), program = path + u"/Contents/Helpers/cobblet"_s;
        writeProgram(program,
                     "printf '%s\\0' \"$0\" \"$@\" >\"$HOME/out.tmp\"\nmv \"$HOME/out.tmp\" \"$HOME/out\"\n");
        return {path,
                identifier,
                name,
                u"Opens this group of applications"_s,
                program,
                icons({16, 32, 64, 128, 256, 512, 1024}, Qt::red),
                {item(u"app-1"_s, u"Mail; 100% “safe” \\n"_s), {}, item(u"open-all"_s, u"Open All"_s)}};
    }
    QString icon(int side) const
    {
        return home.path(u".local/share/icons/hicolor/%1x%1/apps/%2.png"_s.arg(side).arg(identifier));
    }
    /// All files below the data folder.
    QStringList files() const
    {
        QStringList found;
        QDirIterator walk(home.path(u".local/share"_s), QDir::Files | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
        while (walk.hasNext())
            found.append(walk.next());
        return found;
    }
    /// How the program was started.
    QList<QByteArray> started() const
    {
        const QString path = home.path(u"out"_s);
        EXPECT_TRUE(waitFor([&] { return QFile::exists(path); }));
        QList<QByteArray> words = content(path).chopped(1).split('\0');
        QFile::remove(path);
        return words;
    }
    using AppInfo = std::unique_ptr<GDesktopAppInfo, void (*)(void *)>;
    AppInfo readByGio() const
    {
        return {g_desktop_app_info_new_from_filename(QFile::encodeName(user(identifier)).constData()),
                g_object_unref};
    }

    DesktopEntryRegistry registry;
};

TEST_F(DesktopEntryRegistryTest, OddNamesAndPlacesAreReadAsTheyAre)
{
    const std::pair<QString, QString> rows[] = {
        // name and folder
        {u"\"a\" `b` $HOME \\ 100%u %% 'c'; #[x]=y"_s, u"a\"b`c$HOME\\d'e;f#[x]=y &|.app"_s},
        {u"Line\nbreak\ttab\\n"_s, u"line\nbreak\ttab\r.app"_s},
        {u"  blanks around  "_s, u" blanks around /x .app"_s},
        {u"../../etc/passwd"_s, u"100%u %%/x.app"_s},
        {u"🐙 Größe 日本語 مجموعة"_s, u"🐙 Größe 日本語.app"_s},
        {u"[Desktop Entry]\nExec=evil\n[Desktop Action evil]"_s, u"e.app"_s},
    };
    for (const auto &[name, folder] : rows) {
        SCOPED_TRACE(qPrintable(name));
        const Registration made = bundle(name, folder);
        const Status status = registry.registerBundle(made);
        ASSERT_TRUE(status.ok()) << qPrintable(status.error());
        QProcess judge;
        judge.start(u"desktop-file-validate"_s, {user(identifier)});
        ASSERT_TRUE(judge.waitForFinished());
        EXPECT_EQ(judge.readAllStandardOutput(), QByteArray());

        const AppInfo info = readByGio();
        ASSERT_TRUE(info);
        EXPECT_EQ(QString::fromUtf8(g_app_info_get_name(G_APP_INFO(info.get()))), name);
        EXPECT_STREQ(g_desktop_app_info_get_startup_wm_class(info.get()), qPrintable(identifier));
        EXPECT_EQ(taken(g_desktop_app_info_get_string(info.get(), "Icon")), identifier);
        EXPECT_EQ(taken(g_desktop_app_info_get_action_name(info.get(), "app-1")), made.menu.first().title);

        const QByteArray program = QFile::encodeName(made.program);
        EXPECT_TRUE(g_app_info_launch(G_APP_INFO(info.get()), nullptr, nullptr, nullptr));
        EXPECT_EQ(started(), QList<QByteArray>{program});
        g_desktop_app_info_launch_action(info.get(), "open-all", nullptr);
        EXPECT_EQ(started(), (QList<QByteArray>{program, "--action", "open-all"}));
    }
}

TEST_F(DesktopEntryRegistryTest, IconsFollowTheBundleAndForeignLinksAreNotWrittenThrough)
{
    Registration made = bundle();
    ASSERT_TRUE(registry.registerBundle(made).ok());
    for (const int side : {16, 32, 64, 128, 256, 512})
        EXPECT_EQ(QImage(icon(side)).size(), QSize(side, side));
    EXPECT_EQ(files().size(), 7);
    // Nothing is written twice; but whoever holds icons in memory is told to look again.
    const QString theme = home.path(u".local/share/icons/hicolor"_s);
    const ino_t before = inode(user(identifier)), iconBefore = inode(icon(512));
    const timespec past[2] = {{1000, 0}, {1000, 0}};
    ::utimensat(AT_FDCWD, qPrintable(theme), past, 0);
    ASSERT_TRUE(registry.registerBundle(made).ok());
    EXPECT_EQ(inode(user(identifier)), before);
    EXPECT_EQ(inode(icon(512)), iconBefore);
    EXPECT_LT(QFileInfo(theme).lastModified().secsTo(QDateTime::currentDateTime()), 60);

    // A new icon is a new entry too, or docks would keep the old picture. Sizes that are gone go.
    made.icons = icons({16, 512}, Qt::blue);
    ASSERT_TRUE(registry.registerBundle(made).ok());
    EXPECT_EQ(QImage(icon(512)).pixelColor(0, 0), QColor(Qt::blue));
    EXPECT_NE(inode(user(identifier)), before);
    EXPECT_EQ(files().size(), 3);

    const QString victim = home.path(u"victim"_s);
    write(victim, "precious");
    const QStringList links{user(identifier), icon(16), icon(512)};
    for (const QString &file : links)
        ASSERT_TRUE(QFile::remove(file) && QFile::link(victim, file));
    made.icons = icons({512}, Qt::red);
    ASSERT_TRUE(registry.registerBundle(made).ok());
    for (const QString &file : links)
        EXPECT_FALSE(QFileInfo(file).isSymLink()) << qPrintable(file);
    EXPECT_EQ(content(victim), "precious");
}

TEST_F(DesktopEntryRegistryTest, AFullDiskLeavesWhatWasThere)
{
    Registration made = bundle();
    const auto onFullDisk = [&] {
        const auto before = std::signal(SIGXFSZ, SIG_IGN);
        rlimit unlimited{};
        ::getrlimit(RLIMIT_FSIZE, &unlimited);
        const rlimit full{800, unlimited.rlim_max}; // enough for the small icons
        ::setrlimit(RLIMIT_FSIZE, &full);
        const Status status = registry.registerBundle(made);
        ::setrlimit(RLIMIT_FSIZE, &unlimited);
        std::signal(SIGXFSZ, before);
        return status;
    };
    ASSERT_LT(made.icons.first().png.size(), 800);
    EXPECT_TRUE(onFullDisk().error().contains(u"Can't write "_s + home.path()));
    EXPECT_EQ(files(), QStringList());

    ASSERT_TRUE(registry.registerBundle(made).ok());
    const QByteArray entryBefore = content(user(identifier)), iconBefore = content(icon(512));
    const qsizetype count = files().size();
    made.icons = icons({16, 512}, Qt::blue);
    EXPECT_FALSE(onFullDisk().ok());
    EXPECT_EQ(content(user(identifier)), entryBefore);
    EXPECT_EQ(content(icon(512)), iconBefore);
    EXPECT_LE(files().size(), count);
}

TEST_F(DesktopEntryRegistryTest, WhatCannotBeStartedOrNamedIsNotRegistered)
{
    for (const QString &id : {QString(), agents, u"plain"_s, agents + u"../../../evil"_s, agents + u"a\n"_s,
                              agents + QString(300, u'x')}) {
        Registration made = bundle();
        made.identifier = id;
        EXPECT_FALSE(registry.registerBundle(made).ok()) << qPrintable(id);
        EXPECT_FALSE(registry.unregisterBundle(id).ok()) << qPrintable(id);
    }
    Registration made = bundle();
    QFile::remove(made.program);
    EXPECT_TRUE(registry.registerBundle(made).error().contains(u"there is no program"));
    EXPECT_FALSE(registry.registerBundle(bundle(u"Work"_s, u"100%/a=b.app"_s)).ok());
    EXPECT_EQ(files(), QStringList());
}

TEST_F(DesktopEntryRegistryTest, ALongMenuKeepsWhatConcernsTheWholeGroup)
{
    Registration made = bundle();
    made.menu = {item(u"no_action"_s, u"x"_s), item(u"x]\nExec=evil"_s, u"x"_s), item(u"nameless"_s, u" "_s)};
    QStringList expected{u"nameless"_s};
    for (int i = 0; i < 40; ++i) {
        made.menu.append(item(u"app-%1"_s.arg(i), u"App"_s));
        if (i < 23)
            expected.append(made.menu.last().action);
    }
    made.menu += {made.menu[5], DockMenuItem(), item(u"open"_s, u"x"_s), item(u"hide"_s, u"x"_s),
                  item(u"quit"_s, QString(2000, u'q'))};
    expected += {u"open"_s, u"hide"_s, u"quit"_s};
    ASSERT_TRUE(registry.registerBundle(made).ok());

    const AppInfo info = readByGio();
    ASSERT_TRUE(info);
    QStringList found;
    for (const gchar *const *action = g_desktop_app_info_list_actions(info.get()); *action; ++action)
        found.append(QLatin1String(*action));
    EXPECT_EQ(found, expected);
    EXPECT_EQ(taken(g_desktop_app_info_get_action_name(info.get(), "nameless")), u"org.example.App"_s);
    EXPECT_EQ(taken(g_desktop_app_info_get_action_name(info.get(), "quit")), QString(999, u'q') + QChar(0x2026));
}

TEST_F(DesktopEntryRegistryTest, UnregisteringLeavesNothing)
{
    const QString other = identifier.chopped(1) + u'F';
    ASSERT_TRUE(registry.registerBundle(bundle()).ok());
    ASSERT_TRUE(QFile::link(home.path(u"nowhere"_s), user(other)));
    write(user(u"com.vantor.cobblet"_s), entry("Main", "true"));
    write(user(agents + u' '), entry("Other", "true"));
    write(user(identifier) + u".tmp"_s, "of a process that was killed");
    write(icon(32) + u".tmp"_s, "too");
    EXPECT_EQ(registry.registered(agents), (QStringList{identifier, other}));
    for (const QString &id : {identifier, other, other})
        EXPECT_TRUE(registry.unregisterBundle(id).ok());
    EXPECT_EQ(registry.registered(agents), QStringList());
    EXPECT_EQ(files().size(), 2);

    QDir().mkpath(user(identifier)); // it can't be removed as a file
    EXPECT_TRUE(registry.unregisterBundle(identifier).error().contains(u"Can't remove"));
}

} // namespace
