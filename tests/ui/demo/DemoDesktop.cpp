#include "ui/demo/DemoDesktop.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace cobblet::demo {

namespace {

struct Sample {
    const char *name;
    const char *glyph; ///< drawn on the tile
    int hue;
};

constexpr Sample samples[] = {
    {"Mail", "✉", 212},      {"Calendar", "31", 2},     {"Notes", "✎", 46},    {"Terminal", ">_", 220},
    {"Photos", "❀", 325},    {"Music", "♫", 345},       {"Preview", "◉", 200}, {"Maps", "➤", 140},
    {"Files", "▤", 208},     {"Weather", "☀", 198},     {"Contacts", "☺", 28}, {"Clock", "◷", 260},
    {"Calculator", "±", 30}, {"Text Editor", "¶", 190}, {"Disks", "◍", 160},   {"Books", "❖", 18},
    {"Reminders", "✓", 12},  {"Player", "▶", 285},      {"Draw", "✐", 172},    {"Archive", "▣", 38},
};

Sample sampleOf(const QString &bundleID)
{
    const int index = bundleID.section(QLatin1Char('.'), -1).toInt();
    Sample sample = samples[index % int(std::size(samples))];
    sample.hue = (sample.hue + index / int(std::size(samples)) * 47) % 360;
    return sample;
}

} // namespace

QImage DemoWorkspace::icon(const QString &bundleID, int points, qreal ratio) const
{
    if (!application(bundleID))
        return {};
    const Sample sample = sampleOf(bundleID);
    const int side = qRound(points * ratio);
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF tile = QRectF(0, 0, side, side).adjusted(side * 0.05, side * 0.05, -side * 0.05, -side * 0.05);
    QLinearGradient body(tile.topLeft(), tile.bottomLeft());
    body.setColorAt(0, QColor::fromHsv(sample.hue, 120, 250));
    body.setColorAt(1, QColor::fromHsv((sample.hue + 14) % 360, 205, 205));
    painter.setPen(QPen(QColor(0, 0, 0, 26), side / 64.0));
    painter.setBrush(body);
    painter.drawRoundedRect(tile, side * 0.2, side * 0.2);
    QFont font = painter.font();
    font.setPixelSize(int(side * 0.46));
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(QColor(255, 255, 255, 240));
    painter.drawText(tile, Qt::AlignCenter, QString::fromUtf8(sample.glyph));
    painter.end();
    image.setDevicePixelRatio(ratio);
    return image;
}

QList<AppItem> DemoWorkspace::apps(int count)
{
    QList<AppItem> items;
    for (int i = 0; i < count; ++i) {
        const QString bundleID = QStringLiteral("org.example.%1").arg(i);
        QString name = QString::fromUtf8(samples[i % int(std::size(samples))].name);
        if (i == 5)
            name = QStringLiteral("A Rather Long Application Name That Cannot Fit");
        else if (i == 6)
            name = QStringLiteral("محرر النصوص والمستندات");
        else if (i == 7)
            name = QStringLiteral("<b>Bold</b>\nMaps");
        if (i == 3 && count > 4) {
            items.append({QStringLiteral("Gone App"), QStringLiteral("org.example.missing")});
            continue;
        }
        install(bundleID, name);
        items.append({name, bundleID});
    }
    return items;
}

QList<AppGroup> sampleGroups(DemoWorkspace &workspace, int apps)
{
    struct GroupSample {
        const char *name;
        const char *emoji;
        int apps;
    };
    constexpr GroupSample rest[] = {{"Creative", "🎨", 6},
                                    {"Utilities", "🔧", 9},
                                    {"Reading and Research in the Evening", "📚", 4},
                                    {"ألعاب ومرح", "🎮", 3},
                                    {"Empty", "📦", 0}};
    QList<AppGroup> groups(1 + std::size(rest));
    groups[0].name = QStringLiteral("Work");
    groups[0].emoji = QStringLiteral("💼");
    groups[0].apps = workspace.apps(apps);
    for (qsizetype i = 1; i < groups.size(); ++i) {
        groups[i].name = QString::fromUtf8(rest[i - 1].name);
        groups[i].emoji = QString::fromUtf8(rest[i - 1].emoji);
        groups[i].apps = workspace.apps(rest[i - 1].apps);
    }
    return groups;
}

} // namespace cobblet::demo
