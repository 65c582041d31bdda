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

/// Draws the template in each size that is asked for, and has a name for bars that do better than that.
class TemplateIcon : public QIconEngine {
public:
    TemplateIcon(StatusItem::Template image, QString name, const QColor &color)
        : m_image(std::move(image)), m_name(std::move(name)), m_color(color)
    {
    }

    QIconEngine *clone() const override { return new TemplateIcon(*this); }
    QString iconName() override { return m_name; }
    bool isNull() override { return m_image(m_color, 1, 1).isNull(); }

    /// The places of common bars, at one and two device pixels per point.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        return {{16, 16}, {22, 22}, {24, 24}, {32, 32}, {44, 44}, {48, 48}};
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        return QPixmap::fromImage(m_image(m_color, qMin(size.width(), size.height()), 1));
    }
    void paint(QPainter *painter, const QRect &rect, QIcon::Mode, QIcon::State) override
    {
        painter->drawImage(
            rect, m_image(m_color, qMin(rect.width(), rect.height()), painter->device()->devicePixelRatio()));
    }

private:
    StatusItem::Template m_image;
    QString m_name;
    QColor m_color;
};

} // namespace

QtStatusItem::QtStatusItem(QtMenus &menus, const Appearance &appearance, const QString &iconName)
    : m_menus(menus), m_appearance(appearance), m_iconName(iconName)
{
    connect(&appearance, &Appearance::changed, this, &QtStatusItem::follow);
}

QtStatusItem::~QtStatusItem()
{
    hide();
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
    return QIcon(new TemplateIcon(m_image, m_iconName, tint(m_appearance.isDark())));
}

void QtStatusItem::show()
{
    if (m_tray)
        return;
    m_menu = std::make_unique<QMenu>();
    m_menus.fill(*m_menu, m_items, tint(m_appearance.isDark()));
    m_tray = std::make_unique<QSystemTrayIcon>(icon());
    m_tray->setToolTip(m_description);
    m_tray->setContextMenu(m_menu.get());
    connect(m_tray.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        // Context comes from bars that leave showing the menu to the program.
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::Context)
            openMenu({QCursor::pos(), QSize(1, 1)});
    });
    m_tray->show();
}

void QtStatusItem::hide()
{
    m_tray.reset();
    m_menu.reset();
}

void QtStatusItem::openMenu(const QRect &anchor)
{
    m_menus.popUpBeside(m_items, anchor);
}

void QtStatusItem::follow()
{
    if (!m_tray)
        return;
    m_tray->setIcon(icon());
    m_menus.recolor(*m_menu, tint(m_appearance.isDark()));
}

} // namespace cobblet
