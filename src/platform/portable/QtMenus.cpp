#include "platform/portable/QtMenus.h"

#include <QAction>
#include <QGuiApplication>
#include <QMenu>
#include <QPalette>
#include <QScreen>
#include <QWindow>

namespace cobblet {

namespace {

/// Read on light and dark menus. The toolkit draws all titles of a menu alike, so the symbol stands out.
constexpr QRgb destructiveColor = qRgb(224, 60, 50);

/// As the toolkit wants it: a lone ampersand would mark a shortcut letter.
QString literal(QString title)
{
    return title.replace(QLatin1Char('&'), QLatin1String("&&"));
}

} // namespace

QtMenus::~QtMenus()
{
    delete m_open;
}

QIcon QtMenus::symbol(const QString &name, const QColor &color) const
{
    return m_symbols && !name.isEmpty() ? m_symbols(name, color) : QIcon();
}

void QtMenus::fill(QMenu &menu, const QList<MenuItem> &items, const QColor &symbolColor)
{
    for (const MenuItem &item : items) {
        if (item.isSeparator()) {
            menu.addSeparator();
            continue;
        }
        const QIcon icon = symbol(item.symbol, item.destructive ? QColor(destructiveColor) : symbolColor);
        if (!item.children.isEmpty()) {
            QMenu *children = menu.addMenu(icon, literal(item.title));
            children->setEnabled(item.enabled);
            fill(*children, item.children, symbolColor);
            continue;
        }
        QAction *entry = menu.addAction(icon, literal(item.title));
        entry->setData(item.symbol);
        entry->setEnabled(item.enabled && item.action != nullptr);
        entry->setShortcut(item.shortcut);
        entry->setShortcutVisibleInContextMenu(true);
        // Queued, so that the menu is off the screen before its action opens something in its place; and not in the
        // entry's context, because a menu that closed is gone by then.
        if (item.action)
            QObject::connect(entry, &QAction::triggered, &m_context, item.action, Qt::QueuedConnection);
    }
}

void QtMenus::recolor(QMenu &menu, const QColor &symbolColor) const
{
    for (QAction *entry : menu.actions())
        if (const QString name = entry->data().toString(); !name.isEmpty())
            entry->setIcon(symbol(name, symbolColor));
}

QMenu &QtMenus::made(const QList<MenuItem> &items)
{
    delete m_open;
    m_open = new QMenu;
    m_open->setAttribute(Qt::WA_DeleteOnClose);
    fill(*m_open, items, QGuiApplication::palette().color(QPalette::WindowText));
    return *m_open;
}

void QtMenus::popUp(const QList<MenuItem> &items, QWindow *window, const QPointF &position)
{
    QMenu &menu = made(items);
    menu.winId(); // makes the native window, which has to know whose menu it is before it is shown
    menu.windowHandle()->setTransientParent(window);
    menu.popup(window ? window->mapToGlobal(position).toPoint() : position.toPoint());
}

void QtMenus::popUpBeside(const QList<MenuItem> &items, const QRect &anchor)
{
    QMenu &menu = made(items);
    const QScreen *screen = QGuiApplication::screenAt(anchor.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const bool above = screen && anchor.center().y() > screen->geometry().center().y();
    menu.popup({anchor.left(), above ? anchor.top() - menu.sizeHint().height() : anchor.bottom() + 1});
}

} // namespace cobblet
