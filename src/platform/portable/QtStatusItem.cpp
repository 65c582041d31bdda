#include "platform/portable/QtStatusItem.h"

#include "platform/Appearance.h"
#include "platform/portable/QtMenus.h"

#include <QCursor>
#include <QIconEngine>
#include <QMenu>
#include <QPainter>
#include <QSystemTrayIcon>

namespace cobblet {

namespace {

/// Draws the template in each size that is asked for, light with a dark outline or dark with a light one, and has a
/// name for bars that know better what is read on them.
class OutlinedIcon : public QIconEngine {
public:
    OutlinedIcon(StatusItem::Template image, QString name, bool isLight)
        : m_image(std::move(image)), m_name(std::move(name)), m_isLight(isLight)
    {
    }

    QIconEngine *clone() const override { return new OutlinedIcon(*this); }
    QString iconName() override { return m_name; }

    /// The places of common bars, at one and two device pixels per point.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {44, 44}, {48, 48}};
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        QPixmap canvas(size);
        canvas.fill(Qt::transparent);
        QPainter painter(&canvas);
        draw(painter, canvas.rect(), 1);
        return canvas;
    }
    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override
    {
        draw(*painter, rect, painter->device()->devicePixelRatio());
    }

private:
    void draw(QPainter &painter, const QRect &rect, qreal ratio) const
    {
        const double side = qMin(rect.width(), rect.height()) - 2;
        const QPointF corner = QRectF(rect).center() - QPointF(side / 2, side / 2);
        const QImage outline = m_image(StatusItem::tint(!m_isLight), side, ratio);
        for (const QPoint step : {QPoint(-1, -1), {0, -1}, {1, -1}, {-1, 0}, {1, 0}, {-1, 1}, {0, 1}, {1, 1}})
            painter.drawImage(corner + step, outline);
        painter.drawImage(corner, m_image(StatusItem::tint(m_isLight), side, ratio));
    }

    StatusItem::Template m_image;
    QString m_name;
    bool m_isLight;
};

} // namespace

QtStatusItem::QtStatusItem(QtMenus &menus, const Appearance &appearance, const QString &iconName)
    : m_menus(menus), m_appearance(appearance), m_iconName(iconName)
{
    connect(&appearance, &Appearance::changed, this, [this] {
        if (!m_tray)
            return;
        m_tray->setIcon(icon());
        if (m_menu)
            m_menus.recolor(*m_menu, tint(m_appearance.isDark()));
    });
}

QtStatusItem::~QtStatusItem()
{
    m_tray.reset(); // before the menu that it shows
}

void QtStatusItem::setImage(Template image, const QString &accessibilityDescription)
{
    m_image = std::move(image);
    m_description = accessibilityDescription;
}

void QtStatusItem::setMenu(const QList<MenuItem> &items)
{
    m_items = items;
}

QIcon QtStatusItem::icon() const
{
    return QIcon(new OutlinedIcon(m_image, m_iconName, m_appearance.isDark()));
}

void QtStatusItem::show()
{
    show(true);
}

void QtStatusItem::show(bool barShowsMenu)
{
    m_tray = std::make_unique<QSystemTrayIcon>(icon());
    m_tray->setToolTip(m_description);
    if (barShowsMenu) {
        m_menu = std::make_unique<QMenu>();
        m_menus.fill(*m_menu, m_items, tint(m_appearance.isDark()));
        m_tray->setContextMenu(m_menu.get());
    }
    connect(m_tray.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context)
            m_menus.popUpBeside(m_items, m_tray->geometry().isEmpty() ? QRect(QCursor::pos(), QSize(1, 1))
                                                                      : m_tray->geometry());
    });
    m_tray->show();
}

} // namespace cobblet
