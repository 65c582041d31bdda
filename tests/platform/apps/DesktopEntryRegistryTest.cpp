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

class DesktopEntryRegistryTest : public DesktopFixture {
protected:
    /// A bundle whose program writes down how it was started.
    Registration bundle(const QString &name = u"Work"_s, const QString &folder = u"Applications/Group.app"_s) const
    {
        const QString path = home.path(folder), program = path + u"/Contents/Helpers/cobblet"_s;
        writeProgram(program,
                     "printf '%s\\0' \"$0\" \"$@\" >\"$HOME/out.tmp\"\nmv \"$HOME/out.tmp\" \"$HOME/out\"\n");
        const QList<DockMenuItem> menu{{u"app-1"_s, u"Mail; 100% “safe” \\n"_s, u"org.mail"_s},
                                       {},
                                       {u"x]\nExec=evil"_s, u"x"_s, {}},
                                       {u"open-all"_s, u"Open All"_s, {}}};
        const auto images = icons({16, 24, 32, 48, 64, 128, 256, 512, 1024}, Qt::red);
        return {path, identifier, name, u"Opens this group of applications"_s, program, images, menu};
    }
    QString icon(int side) const
    {
        return home.path(u".local/share/icons/hicolor/%1x%1/apps/%2.png"_s.arg(side).arg(identifier));
    }
    /// All files below the data folder.
    QStringList files() const
    {
        QDirIterator walk(home.path(u".local/share"_s), QDir::Files | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
        QStringList found;
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

    DesktopEntryRegistry registry{
        [](const QString &id) { return id == u"org.mail" ? u"/a b;\\n.png"_s : QString(); }};
};

TEST_F(DesktopEntryRegistryTest, OddNamesAndPlacesAreReadAsTheyAre)
{
    const std::pair<QString, QString> rows[] = {
        // name and folder
        {u"\"a\" `b` $HOME \\ 100%u %% 'c'; #[x]=y"_s, u"a\"b`c$HOME\\d'e;f#[x]=y &|.app"_s},
        {u"Line\nbreak\ttab\\n"_s, u"line\nbreak\ttab\r.app"_s},
        {u" ../../etc/passwd "_s, u" 100%u %%/x .app"_s},
        {u"🐙 Größe 日本語 مجموعة"_s, u"🐙 Größe 日本語.app"_s},
        {u"[Desktop Entry]\nExec=evil\n[Desktop Action evil]"_s, u"e.app"_s},
    };
    for (const auto &[name, folder] : rows) {
        SCOPED_TRACE(qPrintable(name));
        const Registration made = bundle(name, folder);
        ASSERT_TRUE(registry.registerBundle(made).ok());
        QProcess judge;
        judge.start(u"desktop-file-validate"_s, {user(identifier)});
        ASSERT_TRUE(judge.waitForFinished());
        EXPECT_EQ(judge.readAllStandardOutput(), QByteArray());

        const std::unique_ptr<GDesktopAppInfo, void (*)(void *)> info(
            g_desktop_app_info_new_from_filename(qPrintable(user(identifier))), g_object_unref);
        ASSERT_TRUE(info);
        EXPECT_EQ(QString::fromUtf8(g_app_info_get_name(G_APP_INFO(info.get()))), name);
        const std::unique_ptr<char, decltype(&g_free)> title(g_desktop_app_info_get_action_name(info.get(), "app-1"),
                                                             g_free);
        EXPECT_EQ(QString::fromUtf8(title.get()), made.menu.first().title);
        EXPECT_EQ(g_desktop_app_info_list_actions(info.get())[2], nullptr) << "two entries can be named";
        EXPECT_EQ(content(user(identifier)).count("\nIcon=/a b;\\\\n.png\n"), 1) << "of the one that has an icon";

        const QByteArray program = QFile::encodeName(made.program);
        EXPECT_TRUE(g_app_info_launch(G_APP_INFO(info.get()), nullptr, nullptr, nullptr));
        EXPECT_EQ(started(), QList<QByteArray>{program});
        g_desktop_app_info_launch_action(info.get(), "open-all", nullptr);
        EXPECT_EQ(started(), (QList<QByteArray>{program, "--action", "open-all"}));
    }
}

TEST_F(DesktopEntryRegistryTest, TheMenuOfALargeGroupIsWholeAndThatOfAHugeOneKeepsItsCommands)
{
    for (const int size : {100, 2000}) {
        Registration made = bundle();
        for (int i = 0; i < size; ++i)
            made.menu.prepend({u"many-%1"_s.arg(i), u"Many"_s, {}});
        ASSERT_TRUE(registry.registerBundle(made).ok());
        const QByteArray entry = content(user(identifier));
        EXPECT_EQ(entry.count("[Desktop Action "), std::min(size + 2, int(DesktopEntryRegistry::maximumActions)));
        EXPECT_TRUE(entry.contains("[Desktop Action open-all]"));
    }
}

TEST_F(DesktopEntryRegistryTest, IconsFollowTheBundleAndForeignLinksAreNotWrittenThrough)
{
    Registration made = bundle();
    ASSERT_TRUE(registry.registerBundle(made).ok());
    EXPECT_EQ(files().size(), 9) << "the entry and eight sizes: themes have no 1024";
    // Nothing is written twice; but whoever holds icons in memory is told to look again.
    const QString theme = home.path(u".local/share/icons/hicolor"_s);
    const timespec past[2] = {{1000, 0}, {1000, 0}};
    for (const QString &path : {theme, user(identifier)})
        ASSERT_EQ(::utimensat(AT_FDCWD, qPrintable(path), past, 0), 0);
    const auto isOld = [](const QString &path) { return QFileInfo(path).lastModified().toSecsSinceEpoch() == 1000; };
    ASSERT_TRUE(registry.registerBundle(made).ok());
    EXPECT_TRUE(isOld(user(identifier)) && !isOld(theme));

    // A new icon is a new entry too, or docks would keep the old picture. Sizes that are gone go.
    made.icons = icons({16, 512}, Qt::blue);
    ASSERT_TRUE(registry.registerBundle(made).ok());
    EXPECT_EQ(QImage(icon(512)).pixelColor(0, 0), QColor(Qt::blue));
    EXPECT_FALSE(isOld(user(identifier)));
    EXPECT_EQ(files().size(), 3);

    const QString victim = home.path(u"victim"_s);
    write(victim, "precious");
    for (const QString &file : {user(identifier), icon(16), icon(512)})
        ASSERT_TRUE(QFile::remove(file) && QFile::link(victim, file));
    made.icons = icons({512}, Qt::red);
    ASSERT_TRUE(registry.registerBundle(made).ok());
    for (const QString &file : {user(identifier), icon(16), icon(512)})
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
    EXPECT_TRUE(onFullDisk().error().contains(u"Can't write "_s + home.path()));
    EXPECT_EQ(files(), QStringList());
    ASSERT_TRUE(registry.registerBundle(made).ok());
    const QByteArray entryBefore = content(user(identifier)), iconBefore = content(icon(512));
    made.icons = icons({16, 512}, Qt::blue);
    EXPECT_FALSE(onFullDisk().ok());
    EXPECT_EQ(content(user(identifier)), entryBefore);
    EXPECT_EQ(content(icon(512)), iconBefore);
}

TEST_F(DesktopEntryRegistryTest, UnregisteringLeavesNothing)
{
    const QString other = identifier.chopped(1) + u'F';
    ASSERT_TRUE(registry.registerBundle(bundle()).ok());
    ASSERT_TRUE(QFile::link(home.path(u"nowhere"_s), user(other)));
    write(user(u"com.vantor.cobblet"_s), entry("Main", "true"));
    write(icon(32) + u".tmp"_s, "of a process that was killed");
    EXPECT_EQ(registry.registered(agents), (QStringList{identifier, other}));
    for (const QString &id : {identifier, other, other})
        EXPECT_TRUE(registry.unregisterBundle(id).ok());
    EXPECT_EQ(files(), QStringList{user(u"com.vantor.cobblet"_s)});
    QDir().mkpath(user(identifier)); // it can't be removed as a file
    EXPECT_TRUE(registry.unregisterBundle(identifier).error().contains(u"Can't remove"));
}

TEST_F(DesktopEntryRegistryTest, WhatCannotBeStartedOrNamedIsNotRegistered)
{
    Registration made = bundle();
    for (const QString &id : {agents, agents + u"../../../evil"_s, agents + u"a\n"_s, agents + QString(300, u'x')}) {
        made.identifier = id;
        EXPECT_FALSE(registry.registerBundle(made).ok() || registry.unregisterBundle(id).ok()) << qPrintable(id);
    }
    made.identifier = identifier;
    QFile::remove(made.program);
    EXPECT_TRUE(registry.registerBundle(made).error().contains(u"there is no program"));
    EXPECT_EQ(files(), QStringList());
}

} // namespace
