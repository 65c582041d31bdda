#include "platform/freedesktop/TrayStatusItem.h"

#include "platform/Appearance.h"
#include "platform/freedesktop/TrayWatcher.h"
#include "platform/freedesktop/XEmbedIcon.h"

#include <QGuiApplication>

namespace cobblet {

TrayStatusItem::TrayStatusItem(X11Connection *x11, SessionBus &bus, QtMenus &menus, const Appearance &appearance,
                               const QString &iconName)
    : m_x11(x11), m_bus(bus), m_appearance(appearance), m_toolkit(menus, appearance, iconName)
{
}

TrayStatusItem::~TrayStatusItem() = default;

void TrayStatusItem::setImage(Template image, const QString &accessibilityDescription)
{
    m_toolkit.setImage(std::move(image), accessibilityDescription);
}

void TrayStatusItem::setMenu(const QList<MenuItem> &items)
{
    m_toolkit.setMenu(items);
}

void TrayStatusItem::show()
{
    if (m_watcher)
        return;
    m_watcher = std::make_unique<TrayWatcher>(m_x11, m_bus);
    connect(m_watcher.get(), &TrayWatcher::changed, this, &TrayStatusItem::follow);
}

void TrayStatusItem::follow()
{
    m_icon.reset();
    m_toolkit.hide();
    // The toolkit looks for a status notifier when its first item is made and never again: not before there is one.
    if (m_watcher->tray().kind == Tray::Kind::StatusNotifier)
        m_toolkit.show();
    else if (m_watcher->tray().kind == Tray::Kind::XEmbed)
        embed();
}

void TrayStatusItem::embed()
{
    const qreal ratio = qGuiApp->devicePixelRatio();
    m_icon = std::make_unique<XEmbedIcon>(*m_x11, m_watcher->tray().window, m_toolkit.image(),
                                          m_toolkit.accessibilityDescription(), ratio);
    m_icon->setDarkDesktop(m_appearance.isDark());
    connect(&m_appearance, &Appearance::changed, m_icon.get(),
            [this] { m_icon->setDarkDesktop(m_appearance.isDark()); });
    connect(m_icon.get(), &XEmbedIcon::pressed, this, [this, ratio](const QRect &place) {
        m_toolkit.openMenu(QRectF(QPointF(place.topLeft()) / ratio, QSizeF(place.size()) / ratio).toAlignedRect());
    });
}

} // namespace cobblet
