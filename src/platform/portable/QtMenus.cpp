#include "platform/portable/QtMenus.h"

#include "platform/portable/MenuStyle.h"

#include <QAction>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QPalette>
#include <QScreen>
#include <QWindow>

#include <algorithm>

namespace cobblet {

namespace {

/// As the toolkit wants it: a lone ampersand would mark a shortcut letter.
QString literal(QString title)
{
    return title.replace(QLatin1Char('&'), QLatin1String("&&"));
}

/// In a menu that is longer than anybody reads, what is typed goes to the entry that begins so.
class TypeAhead : public QObject {
public:
    explicit TypeAhead(QMenu &menu) : QObject(&menu), m_menu(menu)
    {
        m_clock.start();
        menu.installEventFilter(this);
    }

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::KeyPress)
            return false;
        const auto &key = static_cast<const QKeyEvent &>(*event);
        const bool isText = !key.text().isEmpty() && key.text().front().isPrint() &&
                            !(key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
        const bool isNew = m_clock.restart() > pauseInTyping;
        if (!isText || (isNew && key.key() == Qt::Key_Space))
            return false;
        m_typed = isNew ? key.text() : m_typed + key.text();
        for (QAction *entry : m_menu.actions())
            if (entry->isEnabled() && entry->iconText().startsWith(m_typed, Qt::CaseInsensitive)) {
                m_menu.setActiveAction(entry);
                break;
            }
        return true;
    }

private:
    static constexpr qint64 pauseInTyping = 1000; // milliseconds

    QMenu &m_menu;
    QElapsedTimer m_clock;
    QString m_typed;
};

} // namespace

QtMenus::QtMenus() = default;

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
        const QIcon icon = symbol(item.symbol, item.destructive ? MenuLook().destructive : symbolColor);
        if (!item.children.isEmpty()) {
            QMenu *children = menu.addMenu(icon, literal(item.title));
            children->setEnabled(item.enabled);
            fill(*children, item.children, symbolColor);
            continue;
        }
        QAction *entry = menu.addAction(icon, literal(item.title));
        entry->setData(item.symbol);
        entry->setProperty(MenuStyle::destructive, item.destructive);
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

QMenu &QtMenus::made(const QList<MenuItem> &items, const QWindow *window)
{
    delete m_open;
    m_open = new QMenu;
    m_open->setAttribute(Qt::WA_DeleteOnClose);
    if (!m_look) {
        fill(*m_open, items, QGuiApplication::palette().color(QPalette::WindowText));
        return *m_open;
    }
    const MenuLook look = m_look(window);
    if (!m_style)
        m_style = std::make_unique<MenuStyle>();
    m_style->setLook(look);
    fill(*m_open, items, look.text);
    dress(*m_open, look);
    return *m_open;
}

void QtMenus::dress(QMenu &menu, const MenuLook &look)
{
    QFont font = menu.font();
    font.setPixelSize(13);
    menu.setFont(font);
    menu.setStyle(m_style.get());
    menu.setAttribute(Qt::WA_TranslucentBackground, look.blends);
    for (QMenu *child : menu.findChildren<QMenu *>(Qt::FindDirectChildrenOnly))
        dress(*child, look);
}

void QtMenus::popUp(const QList<MenuItem> &items, QWindow *window, const QPointF &position)
{
    QMenu &menu = made(items, window);
    menu.winId(); // makes the native window, which has to know whose menu it is before it is shown
    menu.windowHandle()->setTransientParent(window);
    new TypeAhead(menu);
    menu.popup(window ? window->mapToGlobal(position).toPoint() : position.toPoint());
    const auto current = std::ranges::find(items, true, &MenuItem::isCurrent);
    if (current != items.end())
        menu.setActiveAction(menu.actions().at(current - items.begin()));
}

void QtMenus::popUpBeside(const QList<MenuItem> &items, const QRect &anchor)
{
    QMenu &menu = made(items, nullptr);
    const QScreen *screen = QGuiApplication::screenAt(anchor.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    const bool above = screen && anchor.center().y() > screen->geometry().center().y();
    menu.popup({anchor.left(), above ? anchor.top() - menu.sizeHint().height() : anchor.bottom() + 1});
}

} // namespace cobblet
