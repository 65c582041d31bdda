#include "platform/portable/QtMenus.h"

#include <QAction>
#include <QMenu>
#include <QWindow>

namespace cobblet {

namespace {

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

void QtMenus::fill(QMenu &menu, const QList<MenuItem> &items) const
{
    for (const MenuItem &item : items) {
        if (item.isSeparator()) {
            menu.addSeparator();
            continue;
        }
        const QIcon icon = m_symbols && !item.symbol.isEmpty() ? m_symbols(item.symbol) : QIcon();
        if (!item.children.isEmpty()) {
            QMenu *children = menu.addMenu(icon, literal(item.title));
            children->setEnabled(item.enabled);
            fill(*children, item.children);
            continue;
        }
        QAction *entry = menu.addAction(icon, literal(item.title));
        entry->setEnabled(item.enabled && item.action != nullptr);
        // Queued, so that the menu is off the screen before its action opens something in its place.
        if (item.action)
            QObject::connect(entry, &QAction::triggered, entry, item.action, Qt::QueuedConnection);
    }
}

void QtMenus::popUp(const QList<MenuItem> &items, QWindow *window, const QPointF &position)
{
    delete m_open;
    m_open = new QMenu;
    m_open->setAttribute(Qt::WA_DeleteOnClose);
    fill(*m_open, items);
    m_open->winId(); // makes the native window, which has to know whose menu it is before it is shown
    m_open->windowHandle()->setTransientParent(window);
    m_open->popup(window ? window->mapToGlobal(position).toPoint() : position.toPoint());
}

} // namespace cobblet
