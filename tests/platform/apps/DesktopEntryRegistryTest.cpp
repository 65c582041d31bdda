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

#include <gmock/gmock.h>

#include <csignal>
#include <memory>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace cobblet;
using namespace cobblet::test;

const QString identifier = QStringLiteral("com.cobblet.agent.0A1B2C3D-0000-4000-8000-00000000FFEE");
constexpr int iconSides[] = {16, 32, 64, 128, 256, 512};

DockMenuItem item(const char *action, const QString &title)
{
    return {QLatin1String(action), title, QStringLiteral("org.example.App")};
}

const QList<DockMenuItem> menu{
    item("app-1", QStringLiteral("Mail; 100% “safe” \\n")), {}, item("open-all", QStringLiteral("Open All"))};

QByteArray png(int side, Qt::GlobalColor colour)
{
    QImage image(side, side, QImage::Format_RGBA8888);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

class DesktopEntryRegistryTest : public DesktopFixture {
protected:
    /// A bundle whose program writes down how it was started. The name of its folder must be one that a file can
    /// have.
    Registration bundle(const QString &name, const QString &folder = QStringLiteral("Applications/Group.app")) const
    {
        const QString path = home.path(folder);
        const QString program = path + QStringLiteral("/Contents/Helpers/cobblet");
        write(program,
              "#!/bin/sh\nprintf '%s\\0' \"$0\" \"$@\" >\"$HOME/out.tmp\"\nmv \"$HOME/out.tmp\" \"$HOME/out\"\n");
        ::chmod(QFile::encodeName(program).constData(), 0755);
        return {path,    identifier,
                name,    QStringLiteral("Opens this group of applications"),
                program, icons({16, 32, 64, 128, 256, 512, 1024}, Qt::red),
                menu};
    }
    static QList<IconFileImage> icons(const QList<int> &sides, Qt::GlobalColor colour)
    {
        QList<IconFileImage> images;
        for (const int side : sides)
            images.append({side, png(side, colour)});
        return images;
    }

    QString icon(int side) const
    {
        return home.path(QStringLiteral(".local/share/icons/hicolor/%1x%1/apps/%2.png").arg(side).arg(identifier));
    }
    /// All files below the data folder.
    QStringList files() const
    {
        QStringList found;
        QDirIterator walk(home.path(QStringLiteral(".local/share")), QDir::Files | QDir::Hidden | QDir::System,
                          QDirIterator::Subdirectories);
        while (walk.hasNext())
            found.append(walk.next());
        return found;
    }
    static QByteArray content(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }
    static ino_t inode(const QString &path)
    {
        struct stat status {};
        return ::lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
    }
    /// How the program was started.
    QList<QByteArray> started() const
    {
        const QString path = home.path(QStringLiteral("out"));
        EXPECT_TRUE(waitFor([&] { return QFile::exists(path); }, 5000));
        QList<QByteArray> words = content(path).split('\0');
        words.removeLast();
        QFile::remove(path);
        return words;
    }

    DesktopEntryRegistry registry;
};

using AppInfo = std::unique_ptr<GDesktopAppInfo, void (*)(void *)>;

AppInfo readByGio(const QString &path)
{
    return {g_desktop_app_info_new_from_filename(QFile::encodeName(path).constData()), g_object_unref};
}

QString taken(char *text)
{
    const std::unique_ptr<char, decltype(&g_free)> owned(text, g_free);
    return QString::fromUtf8(text);
}

TEST_F(DesktopEntryRegistryTest, OddNamesAndPlacesAreReadAsTheyAre)
{
    const struct {
        QString name;
        QString folder;
    } rows[] = {
        {QStringLiteral("Work"), QStringLiteral("Applications/Cobblet Groups/Work.app")},
        {QStringLiteral("\"a\" `b` $HOME \\ 100%u %% 'c'; #[x]=y"),
         QStringLiteral("a\"b`c$HOME\\d'e;f#[x]=y &|.app")},
        {QStringLiteral("Line\nbreak\ttab\\n"), QStringLiteral("line\nbreak\ttab\r.app")},
        {QStringLiteral("  blanks around  "), QStringLiteral(" blanks around /x .app")},
        {QStringLiteral("../../etc/passwd"), QStringLiteral("100%u %%/x.app")},
        {QString::fromUtf8("🐙 Größe 日本語 مجموعة"), QString::fromUtf8("🐙 Größe 日本語.app")},
        {QStringLiteral("[Desktop Entry]\nExec=evil\n[Desktop Action evil]"), QStringLiteral("e.app")},
        {QStringLiteral("Opens this group of applications"), QStringLiteral("f.app")},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(qPrintable(row.name));
        const Registration made = bundle(row.name, row.folder);
        const Status status = registry.registerBundle(made);
        ASSERT_TRUE(status.ok()) << qPrintable(status.error());

        QProcess judge;
        judge.setProcessChannelMode(QProcess::MergedChannels);
        judge.start(QStringLiteral("desktop-file-validate"), {user(identifier)});
        ASSERT_TRUE(judge.waitForFinished());
        EXPECT_EQ(judge.exitCode(), 0);
        EXPECT_EQ(judge.readAll(), QByteArray());

        const AppInfo info = readByGio(user(identifier));
        ASSERT_TRUE(info);
        EXPECT_EQ(QString::fromUtf8(g_app_info_get_name(G_APP_INFO(info.get()))), row.name);
        EXPECT_STREQ(g_desktop_app_info_get_startup_wm_class(info.get()), qPrintable(identifier));
        EXPECT_EQ(taken(g_desktop_app_info_get_string(info.get(), "Icon")), identifier);
        EXPECT_EQ(taken(g_desktop_app_info_get_action_name(info.get(), "app-1")), menu.first().title);

        const QByteArray program = QFile::encodeName(made.program);
        EXPECT_TRUE(g_app_info_launch(G_APP_INFO(info.get()), nullptr, nullptr, nullptr));
        EXPECT_EQ(started(), QList<QByteArray>{program});
        g_desktop_app_info_launch_action(info.get(), "open-all", nullptr);
        EXPECT_EQ(started(), (QList<QByteArray>{program, "--action", "open-all"}));
    }
}

TEST_F(DesktopEntryRegistryTest, IconsAreWrittenInEverySizeOfTheThemeAndFollowTheBundle)
{
    Registration made = bundle(QStringLiteral("Work"));
    ASSERT_TRUE(registry.registerBundle(made).ok());
    for (const int side : iconSides)
        EXPECT_EQ(QImage(icon(side)).size(), QSize(side, side));
    EXPECT_EQ(files().size(), qsizetype(std::size(iconSides)) + 1);

    // Nothing is written twice; but whoever holds icons in memory is told to look again.
    const QString theme = home.path(QStringLiteral(".local/share/icons/hicolor"));
    const ino_t entryBefore = inode(user(identifier));
    const ino_t iconBefore = inode(icon(512));
    const timespec past[2] = {{1000, 0}, {1000, 0}};
    ::utimensat(AT_FDCWD, qPrintable(theme), past, 0);
    ASSERT_TRUE(registry.registerBundle(made).ok());
    EXPECT_EQ(inode(user(identifier)), entryBefore);
    EXPECT_EQ(inode(icon(512)), iconBefore);
    EXPECT_LT(QFileInfo(theme).lastModified().secsTo(QDateTime::currentDateTime()), 60);

    // A new icon is a new entry too, or docks would keep the old picture. Sizes that are gone go.
    made.icons = icons({16, 512}, Qt::blue);
    ASSERT_TRUE(registry.registerBundle(made).ok());
    EXPECT_EQ(QImage(icon(512)).pixelColor(0, 0), QColor(Qt::blue));
    EXPECT_FALSE(QFile::exists(icon(128)));
    EXPECT_NE(inode(user(identifier)), entryBefore);
}

TEST_F(DesktopEntryRegistryTest, ForeignLinksAreReplacedAndNotWrittenThrough)
{
    const QString victim = home.path(QStringLiteral("victim"));
    write(victim, "precious");
    Registration made = bundle(QStringLiteral("Work"));
    ASSERT_TRUE(registry.registerBundle(made).ok());
    for (const QString &file : {user(identifier), icon(64), icon(256)}) {
        QFile::remove(file);
        ASSERT_TRUE(QFile::link(victim, file));
    }
    made.icons = icons({16, 32, 128, 256, 512}, Qt::red);
    ASSERT_TRUE(registry.registerBundle(made).ok());
    EXPECT_FALSE(QFileInfo(user(identifier)).isSymLink());
    EXPECT_FALSE(QFileInfo(icon(256)).isSymLink());
    EXPECT_FALSE(QFileInfo(icon(64)).isSymLink());
    EXPECT_EQ(content(victim), "precious");
}

TEST_F(DesktopEntryRegistryTest, AFullDiskLeavesWhatWasThere)
{
    Registration made = bundle(QStringLiteral("Work"));
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
    ASSERT_LT(png(16, Qt::red).size(), 800);
    ASSERT_GT(png(512, Qt::red).size(), 800);
    EXPECT_THAT(onFullDisk().error().toStdString(), testing::HasSubstr("Can't write " + home.path().toStdString()));
    EXPECT_EQ(files(), QStringList());

    ASSERT_TRUE(registry.registerBundle(made).ok());
    const QByteArray entryBefore = content(user(identifier));
    const QByteArray iconBefore = content(icon(512));
    const qsizetype count = files().size();
    made.icons = icons({16, 512}, Qt::blue);
    EXPECT_FALSE(onFullDisk().ok());
    EXPECT_EQ(content(user(identifier)), entryBefore);
    EXPECT_EQ(content(icon(512)), iconBefore);
    EXPECT_LE(files().size(), count);
}

TEST_F(DesktopEntryRegistryTest, WhatCannotBeStartedOrNamedIsNotRegistered)
{
    const QString evil = QStringLiteral("com.cobblet.agent.");
    for (const QString &id :
         {QString(), evil, QStringLiteral("plain"), evil + QStringLiteral("../../../evil"),
          evil + QStringLiteral("a\n"), evil + QStringLiteral("A/../x"), evil + QString(300, u'x')}) {
        Registration made = bundle(QStringLiteral("x"));
        made.identifier = id;
        EXPECT_FALSE(registry.registerBundle(made).ok()) << qPrintable(id);
        EXPECT_FALSE(registry.unregisterBundle(id).ok()) << qPrintable(id);
    }
    Registration made = bundle(QStringLiteral("Work"));
    QFile::remove(made.program);
    EXPECT_THAT(registry.registerBundle(made).error().toStdString(), testing::HasSubstr("there is no program"));
    EXPECT_FALSE(registry.registerBundle(bundle(QStringLiteral("Work"), QStringLiteral("100%/a=b.app"))).ok());
    EXPECT_EQ(files(), QStringList());
}

TEST_F(DesktopEntryRegistryTest, ALongMenuKeepsWhatConcernsTheWholeGroup)
{
    QList<DockMenuItem> items{item("no_action", QStringLiteral("x")), item("x]\nExec=evil", QStringLiteral("x")),
                              item("nameless", QStringLiteral(" "))};
    for (int i = 0; i < 40; ++i)
        items.append(item(("app-" + std::to_string(i)).c_str(), QStringLiteral("App %1").arg(i)));
    items.append({items[5], DockMenuItem(), item("open", QStringLiteral("Open All")),
                  item("hide", QStringLiteral("Hide All")), item("quit", QString(2000, u'q'))});
    Registration made = bundle(QStringLiteral("Work"));
    made.menu = items;
    ASSERT_TRUE(registry.registerBundle(made).ok());

    const AppInfo info = readByGio(user(identifier));
    ASSERT_TRUE(info);
    QStringList expected{QStringLiteral("nameless")};
    for (int i = 0; i < 23; ++i)
        expected.append(QStringLiteral("app-%1").arg(i));
    expected += {QStringLiteral("open"), QStringLiteral("hide"), QStringLiteral("quit")};
    QStringList found;
    for (const gchar *const *action = g_desktop_app_info_list_actions(info.get()); *action; ++action)
        found.append(QLatin1String(*action));
    EXPECT_EQ(found, expected);
    EXPECT_EQ(taken(g_desktop_app_info_get_action_name(info.get(), "nameless")), QStringLiteral("org.example.App"));
    EXPECT_EQ(taken(g_desktop_app_info_get_action_name(info.get(), "quit")), QString(999, u'q') + QChar(0x2026));
}

TEST_F(DesktopEntryRegistryTest, UnregisteringLeavesNothing)
{
    const QString other = QStringLiteral("com.cobblet.agent.0A1B2C3D-0000-4000-8000-00000000FFEF");
    ASSERT_TRUE(registry.registerBundle(bundle(QStringLiteral("Work"))).ok());
    ASSERT_TRUE(QFile::link(home.path(QStringLiteral("nowhere")), user(other)));
    write(user(QStringLiteral("com.vantor.cobblet")), entry("Main", "true"));
    write(user(QStringLiteral("com.cobblet.agent. ")), entry("Other", "true"));
    write(user(identifier) + QStringLiteral(".tmp"), "of a process that was killed");
    write(icon(32) + QStringLiteral(".tmp"), "too");
    const QString agents = QStringLiteral("com.cobblet.agent.");
    EXPECT_EQ(registry.registered(agents), (QStringList{identifier, other}));

    EXPECT_TRUE(registry.unregisterBundle(identifier).ok());
    EXPECT_TRUE(registry.unregisterBundle(other).ok());
    EXPECT_TRUE(registry.unregisterBundle(other).ok());
    EXPECT_EQ(registry.registered(agents), QStringList());
    EXPECT_EQ(files().size(), 2);

    // What can't be removed is said.
    QDir().mkpath(user(identifier));
    EXPECT_THAT(registry.unregisterBundle(identifier).error().toStdString(), testing::HasSubstr("Can't remove"));
    EXPECT_EQ(registry.registered(agents), QStringList());
}

} // namespace
