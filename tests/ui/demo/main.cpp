// cobblet-demo: the launcher panel on a fake desktop, to look at or to take a picture of.

#include "control/GroupSuggestionService.h"
#include "integration/Diagnostics.h"
#include "shell/GlobalHotkeyManager.h"
#include "standalone/GroupIconProvider.h"
#include "ui/PanelFixture.h"
#include "ui/panel/PanelView.h"
#include "ui/settings/SettingsWindow.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QPainter>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTimer>

#include <cstdio>

using namespace cobblet;
using namespace Qt::StringLiterals;

namespace {

/// A group of sample applications, of which the fourth is not installed.
AppGroup sampleGroup(test::FakeWorkspace &workspace, const char *name, const char *emoji, int apps)
{
    constexpr const char *names[] = {"Mail",
                                     "A Rather Long Application Name That Cannot Fit",
                                     "Photos",
                                     "Gone App",
                                     "محرر النصوص والمستندات",
                                     "<b>Bold</b>\nMaps",
                                     "Terminal",
                                     "Calculator"};
    AppGroup made;
    made.name = QString::fromUtf8(name);
    made.emoji = QString::fromUtf8(emoji);
    for (int i = 0; i < apps; ++i) {
        made.apps.append({QString::fromUtf8(names[i % std::size(names)]), u"org.example.%1"_s.arg(i)});
        if (i != 3)
            workspace.install(made.apps.last().bundleID, made.apps.last().name);
    }
    return made;
}

/// One that works, one that works partly, and one that does not.
QList<Diagnostics::Source> sampleServices()
{
    return {
        Diagnostics::row(u"Dock"_s, [] { return Availability::works(u"Docks keep free: 40 points."_s); }),
        Diagnostics::row(u"Panel"_s,
                         [] {
                             return Availability::partly(
                                 u"No compositing manager runs: the panel's corners are cut, and it neither fades "
                                 "nor blurs. Start one, such as picom."_s);
                         }),
        Diagnostics::row(u"Search in KRunner"_s,
                         [] { return Availability::unavailable(u"KRunner doesn't run in this session."_s); })};
}

/// The window's picture over a backdrop that shows what is translucent.
QImage onBackdrop(const QImage &window)
{
    constexpr int margin = 24;
    const qreal ratio = window.devicePixelRatio();
    const QSizeF size = QSizeF(window.size()) / ratio + QSizeF(2 * margin, 2 * margin);
    QImage image((size * ratio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    QPainter painter(&image);
    painter.fillRect(QRectF(QPointF(0, 0), size), QColor(150, 120, 190));
    painter.drawImage(QPointF(margin, margin), window);
    return image;
}

QQuickItem *findItem(QQuickItem *root, const QString &label)
{
    if (root->property("label").toString() == label && root->isVisible())
        return root;
    for (QQuickItem *child : root->childItems())
        if (QQuickItem *found = findItem(child, label))
            return found;
    return nullptr;
}

} // namespace

int main(int argc, char **argv)
{
    // The scale has to be known before the application object is.
    for (int i = 1; i + 1 < argc; ++i)
        if (qstrcmp(argv[i], "--scale") == 0)
            qputenv("QT_SCALE_FACTOR", argv[i + 1]);
    QApplication application(argc, argv);
    QCommandLineParser options;
    options.setApplicationDescription(u"Shows the launcher panel on a fake desktop."_s);
    options.addHelpOption();
    options.addOptions({{u"theme"_s, u"The palette: light or dark."_s, u"name"_s, u"light"_s},
                        {u"glassy"_s, u"The glassy palette."_s},
                        {u"apps"_s, u"Applications in the first group."_s, u"count"_s, u"11"_s},
                        {u"columns"_s, u"Fixed columns; 0 is automatic."_s, u"count"_s, u"0"_s},
                        {u"rows"_s, u"Rows before the panel scrolls; 0 is no cap."_s, u"count"_s, u"0"_s},
                        {u"group"_s, u"The group to select, from 1; 0 is Most Used."_s, u"number"_s, u"1"_s},
                        {u"scale"_s, u"Device pixels per point."_s, u"ratio"_s, u"1"_s},
                        {u"no-titles"_s, u"Without names under the icons."_s},
                        {u"no-groups"_s, u"An empty list of groups."_s},
                        {u"no-launches"_s, u"Nothing runs, and no launches were counted."_s},
                        {u"collapsed"_s, u"With the sidebar collapsed."_s},
                        {u"focus"_s, u"With the keyboard's focus shown."_s},
                        {u"press"_s, u"Press the control with this label in the settings."_s, u"label"_s},
                        {u"popover"_s, u"Open a popover: group, emoji (in group), hint or apps."_s, u"name"_s},
                        {u"typed"_s, u"What is typed into the emoji popover."_s, u"text"_s},
                        {u"settings"_s, u"The settings on this page: theme, group, ..."_s, u"page"_s},
                        {u"no-hot-keys"_s, u"On a desktop without hot keys for programs."_s},
                        {u"size"_s, u"The size of the settings window."_s, u"WIDTHxHEIGHT"_s},
                        {u"shot"_s, u"Save a picture and quit."_s, u"file"_s}});
    options.process(application);
    const auto number = [&options](const QString &name) { return options.value(name).toInt(); };

    test::PanelFixture f;
    QList<AppGroup> groups;
    if (!options.isSet(u"no-groups"_s))
        groups = {sampleGroup(f.workspace, "Work", "💼", number(u"apps"_s)),
                  sampleGroup(f.workspace, "Utilities", "🔧", 9),
                  sampleGroup(f.workspace, "Reading and Research in the Evening", "📚", 4),
                  sampleGroup(f.workspace, "ألعاب ومرح", "🎮", 3), sampleGroup(f.workspace, "Empty", "📦", 0)};
    f.config.replaceGroups(groups);
    QMap<int, QUuid> digits;
    for (const AppGroup &group : groups)
        digits[int(digits.size()) + 1] = group.id;
    f.config.replaceShortcuts(digits);
    f.appearance.setDark(options.value(u"theme"_s) == u"dark"_s);
    f.setPreference(u"glassyStyle"_s, options.isSet(u"glassy"_s));
    f.setPreference(u"popupColumns"_s, number(u"columns"_s));
    f.setPreference(u"popupMaxRows"_s, number(u"rows"_s));
    f.setPreference(u"popupShowsTitles"_s, !options.isSet(u"no-titles"_s));
    f.theme.refresh();
    const QList<AppItem> used =
        groups.isEmpty() || options.isSet(u"no-launches"_s) ? QList<AppItem>() : groups[0].apps.mid(0, 11);
    for (qsizetype i = 0; i < used.size(); ++i) {
        if (i == 0 || i == 2)
            f.run(used[i].bundleID);
        for (qsizetype n = 0; n < 40 - 3 * i; ++n)
            f.usage.recordLaunch(used[i].bundleID);
    }

    PanelView panel(f.dependencies());
    if (const int chosen = number(u"group"_s); chosen >= 1 && chosen <= groups.size())
        panel.model().select(SidebarSelection::group(groups[chosen - 1].id));
    if (options.isSet(u"collapsed"_s))
        panel.model().setProperty("sidebarExpanded", false);
    QQuickWindow &window = panel.window();
    const QRect screen = window.screen()->availableGeometry();
    window.setFlags(Qt::Window | Qt::FramelessWindowHint);
    window.setGeometry(
        QRect(screen.topLeft() + QPoint(60, 60), panel.model().desiredSize().toSize().boundedTo(screen.size())));
    QObject::connect(&f.notifications, &NotificationCenter::panelDesiredSizeChanged, &window,
                     [&window](const QSizeF &size) { window.resize(size.toSize()); });
    QObject::connect(&f.notifications, &NotificationCenter::closePanel, &window, &QCoreApplication::quit);
    window.show();
    window.requestActivate();
    panel.engine().decorations().setKeyboardFocus(options.isSet(u"focus"_s));

    GroupIconProvider groupIcons(f.icons, f.workspace);
    test::FakeDistributedNotifications distributed;
    test::FakePasteboard pasteboard;
    test::FakeHotKeys hotKeys;
    hotKeys.taken = {4};
    hotKeys.triggers[6] = u"Press Super+6"_s;
    if (options.isSet(u"no-hot-keys"_s))
        hotKeys.available = Availability::unavailable(u"This desktop offers programs no global shortcuts."_s);
    GlobalHotkeyManager hotkeys(hotKeys, f.notifications, f.scheduler);
    f.workspace.urls = {u"shortcuts://"_s};
    GroupSuggestionService suggestions(f.usage, f.config, f.workspace, f.standardDefaults, f.scheduler);
    Diagnostics diagnostics(sampleServices(), {f.running, f.workspace, f.scheduler}, u"1.0"_s);
    for (const RunningApplication &each : f.running.running)
        f.running.recognitions[each.processIdentifier] = {u"The window has the application's class."_s,
                                                          u"class sample, Sample"_s};
    f.running.corrected = {{u"program ~/bin/notes"_s, u"org.example.0"_s}};
    std::optional<SettingsWindow> settings;
    if (options.isSet(u"settings"_s)) {
        window.hide();
        const QString page = options.value(u"settings"_s);
        (void)f.standardDefaults.set(u"settingsPage"_s,
                                     page == u"group"_s ? SettingsSidebarItem::group(groups[0].id).text() : page);
        settings.emplace(SettingsDependencies{
            f.config, f.sharedDefaults, f.standardDefaults, f.notifications, f.dialogs, f.menus, f.appearance,
            f.workspace, f.icons, groupIcons, f.running, distributed, pasteboard, f.dockTile, &hotkeys, f.scheduler,
            suggestions, [&]() -> Diagnostics & { return diagnostics; }, QStringLiteral(COBBLET_EMOJI_TABLES)});
        settings->open();
        const QStringList size = options.value(u"size"_s).split(u'x');
        if (size.size() == 2)
            settings->view()->window().resize(size[0].toInt(), size[1].toInt());
        QObject::connect(&*settings, &SettingsWindow::closed, &window, &QCoreApplication::quit);
    }

    QTimer::singleShot(400, &window, [&] {
        QQuickItem *root = window.contentItem();
        if (QQuickItem *item = settings && options.isSet(u"press"_s)
                                   ? findItem(settings->view()->window().contentItem(), options.value(u"press"_s))
                                   : nullptr)
            QMetaObject::invokeMethod(item, "triggered");
        const QMap<QString, QString> openers{{u"apps"_s, u"Add Apps"_s},
                                             {u"group"_s, u"New Group"_s},
                                             {u"emoji"_s, u"New Group"_s},
                                             {u"hint"_s, u"Close All Button Shortcuts"_s}};
        if (const QString opener = openers.value(options.value(u"popover"_s)); !opener.isEmpty())
            QMetaObject::invokeMethod(findItem(root, opener), "triggered");
        if (options.value(u"popover"_s) == u"emoji"_s) {
            QMetaObject::invokeMethod(findItem(panel.engine().popovers().window()->contentItem(), u"Change icon"_s),
                                      "triggered");
            QQuickWindow *picker = panel.engine().popovers().window();
            for (const QChar c : options.value(u"typed"_s)) {
                QKeyEvent key(QEvent::KeyPress, c.toUpper().unicode(), {}, c);
                QCoreApplication::sendEvent(picker, &key);
            }
        }
    });
    if (options.isSet(u"shot"_s))
        QTimer::singleShot(1600, &window, [&] {
            ControlsEngine &engine = settings ? settings->view()->engine() : panel.engine();
            QQuickWindow *popover = engine.popovers().window();
            QQuickWindow &shown = settings ? settings->view()->window() : window;
            if (!onBackdrop((popover ? popover : &shown)->grabWindow()).save(options.value(u"shot"_s)))
                std::fprintf(stderr, "The picture could not be saved.\n");
            QCoreApplication::quit();
        });
    return application.exec();
}
