// cobblet-demo: the launcher panel on a fake desktop, to look at or to take a picture of.

#include "ui/PanelFixture.h"
#include "ui/demo/DemoDesktop.h"
#include "ui/panel/PanelView.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QCursor>
#include <QPainter>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTimer>

#include <cstdio>

using namespace cobblet;

namespace {

/// The window's picture over a backdrop that shows what is translucent.
QImage onBackdrop(const QImage &window)
{
    constexpr int margin = 24;
    const qreal ratio = window.devicePixelRatio();
    const QSizeF size = QSizeF(window.size()) / ratio + QSizeF(2 * margin, 2 * margin);
    QImage image((size * ratio).toSize(), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    QPainter painter(&image);
    QLinearGradient wallpaper(0, 0, size.width(), size.height());
    wallpaper.setColorAt(0, QColor(92, 138, 196));
    wallpaper.setColorAt(0.55, QColor(150, 120, 190));
    wallpaper.setColorAt(1, QColor(222, 150, 120));
    painter.fillRect(QRectF(QPointF(0, 0), size), wallpaper);
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

void movePointer(QQuickWindow &window, const QPointF &to)
{
    QMouseEvent move(QEvent::MouseMove, to, window.mapToGlobal(to), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &move);
}

} // namespace

int main(int argc, char **argv)
{
    // The scale has to be known before the application object is.
    for (int i = 1; i + 1 < argc; ++i)
        if (qstrcmp(argv[i], "--scale") == 0)
            qputenv("QT_SCALE_FACTOR", argv[i + 1]);
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Shows the launcher panel on a fake desktop."));
    parser.addHelpOption();
    const auto option = [&](const char *name, const char *description, const char *value = "",
                            const char *standard = "") {
        parser.addOption({QString::fromLatin1(name), QString::fromLatin1(description), QString::fromLatin1(value),
                          QString::fromLatin1(standard)});
    };
    option("theme", "The palette: light or dark.", "name", "light");
    option("glassy", "The glassy palette.");
    option("apps", "Applications in the first group.", "count", "11");
    option("columns", "Fixed columns; 0 is automatic.", "count", "0");
    option("rows", "Rows before the panel scrolls; 0 is no cap.", "count", "0");
    option("group", "The group to select, from 1; 0 is Most Used.", "number", "1");
    option("scale", "Device pixels per point.", "ratio", "1");
    option("no-titles", "Without names under the icons.");
    option("no-groups", "An empty list of groups.");
    option("no-launches", "No launches counted.");
    option("collapsed", "With the sidebar collapsed.");
    option("focus", "With the keyboard's focus shown.");
    option("hover", "Point at the control with this label.", "label");
    option("popover", "Open a popover: group or hint.", "name");
    option("shot", "Save a picture and quit.", "file");
    parser.process(application);

    auto desktop = std::make_unique<demo::DemoWorkspace>();
    const QList<AppGroup> groups = parser.isSet(QStringLiteral("no-groups"))
                                       ? QList<AppGroup>()
                                       : demo::sampleGroups(*desktop, parser.value(QStringLiteral("apps")).toInt());
    test::PanelFixture f(groups, std::move(desktop));
    f.appearance.setDark(parser.value(QStringLiteral("theme")) == QLatin1String("dark"));
    f.setPreference(QStringLiteral("glassyStyle"), parser.isSet(QStringLiteral("glassy")));
    f.setPreference(QStringLiteral("popupColumns"), parser.value(QStringLiteral("columns")).toInt());
    f.setPreference(QStringLiteral("popupMaxRows"), parser.value(QStringLiteral("rows")).toInt());
    f.setPreference(QStringLiteral("popupShowsTitles"), !parser.isSet(QStringLiteral("no-titles")));
    f.theme.refresh();
    if (!groups.isEmpty() && !parser.isSet(QStringLiteral("no-launches")))
        for (int i = 0; i < 4 && i < groups[0].apps.size(); i += 2)
            f.run(groups[0].apps[i].bundleID);
    if (!parser.isSet(QStringLiteral("no-launches")) && !groups.isEmpty())
        for (int i = 0; i < groups[0].apps.size() && i < 11; ++i)
            for (int n = 0; n < 40 - 3 * i; ++n)
                f.usage.recordLaunch(groups[0].apps[i].bundleID);

    PanelView panel(f.dependencies());
    const int number = parser.value(QStringLiteral("group")).toInt();
    if (number >= 1 && number <= groups.size())
        panel.model().select(SidebarSelection::group(groups[number - 1].id));
    if (parser.isSet(QStringLiteral("collapsed")))
        panel.model().setProperty("sidebarExpanded", false);
    QQuickWindow &window = panel.window();
    const QSize size(qRound(panel.model().desiredSize().width()), qRound(panel.model().desiredSize().height()));
    const QRect screen = window.screen()->availableGeometry();
    window.setFlags(Qt::Window | Qt::FramelessWindowHint);
    window.setGeometry(QRect(screen.topLeft() + QPoint(60, 60), size.boundedTo(screen.size())));
    QObject::connect(&f.notifications, &NotificationCenter::panelDesiredSizeChanged, &window,
                     [&window](const QSizeF &size) { window.resize(size.toSize()); });
    QObject::connect(&f.notifications, &NotificationCenter::closePanel, &window, &QCoreApplication::quit);
    window.show();
    window.requestActivate();
    panel.engine().decorations().setKeyboardFocus(parser.isSet(QStringLiteral("focus")));

    QTimer::singleShot(400, &window, [&] {
        QQuickItem *root = window.contentItem();
        if (QQuickItem *item = findItem(root, parser.value(QStringLiteral("hover")));
            item && parser.isSet(QStringLiteral("hover")))
            movePointer(window, item->mapToScene(QPointF(item->width() / 2, item->height() / 2)));
        const QString popover = parser.value(QStringLiteral("popover"));
        const QString opener = popover == QLatin1String("group")  ? QStringLiteral("New Group")
                               : popover == QLatin1String("hint") ? QStringLiteral("Close All Button Shortcuts")
                                                                  : QString();
        if (QQuickItem *button = opener.isEmpty() ? nullptr : findItem(root, opener))
            QMetaObject::invokeMethod(button, "triggered");
    });
    if (parser.isSet(QStringLiteral("shot")))
        QTimer::singleShot(1600, &window, [&] {
            QQuickWindow *popover = panel.engine().popovers().window();
            QImage image = popover ? popover->grabWindow() : window.grabWindow();
            image = onBackdrop(image);
            const QString file = parser.value(QStringLiteral("shot"));
            if (!image.save(file))
                std::fprintf(stderr, "The picture could not be saved to %s.\n", qPrintable(file));
            QCoreApplication::quit();
        });
    return application.exec();
}
