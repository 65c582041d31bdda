#include "ui/settings/GroupPreview.h"

#include "standalone/GroupIconProvider.h"

#include <QGuiApplication>

namespace cobblet {

namespace {

constexpr int side = 128;
constexpr qsizetype appsOnTile = 4;

} // namespace

GroupPreview::GroupPreview(const GroupIconProvider &icons) : m_icons(icons)
{
    m_worker.setMaxThreadCount(1);
    m_worker.setExpiryTimeout(1000);
}

GroupPreview::~GroupPreview()
{
    m_worker.clear();
    m_worker.waitForDone();
}

void GroupPreview::show(const AppGroup &group)
{
    AppGroup shown;
    shown.id = group.id;
    shown.emoji = group.emoji;
    shown.iconStyle = group.iconStyle;
    shown.iconColor = group.iconColor;
    if (group.iconStyle == GroupIconStyle::Grid)
        shown.apps = group.apps.first(std::min(group.apps.size(), appsOnTile));
    if (shown == m_group)
        return;
    const bool isOther = shown.id != m_group.id;
    m_group = shown;
    if (m_group.apps.isEmpty())
        return set(drawn(m_group));
    if (isOther) {
        AppGroup plain = m_group; // not the tile of another group until this one's is there
        plain.apps.clear();
        plain.emoji.clear();
        set(drawn(plain));
    }
    redraw();
}

void GroupPreview::redraw()
{
    if (m_group.apps.isEmpty())
        return;
    m_isStale = m_isDrawing;
    if (m_isDrawing)
        return;
    m_isDrawing = true;
    m_worker.start([this, group = m_group] {
        QImage image = drawn(group);
        QMetaObject::invokeMethod(
            this,
            [this, group, image] {
                m_isDrawing = false;
                if (group == m_group)
                    set(image);
                if (std::exchange(m_isStale, false))
                    redraw();
            },
            Qt::QueuedConnection);
    });
}

void GroupPreview::set(QImage image)
{
    m_image = std::move(image);
    emit changed();
}

QImage GroupPreview::drawn(const AppGroup &group) const
{
    const qreal ratio = qGuiApp->devicePixelRatio();
    QImage image = m_icons.cgImage(group, qRound(side * ratio));
    image.setDevicePixelRatio(ratio);
    return image;
}

} // namespace cobblet
