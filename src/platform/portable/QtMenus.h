#pragma once

#include "platform/Menus.h"

#include <QObject>
#include <QPointer>
#include <QRect>

#include <memory>

class QMenu;

namespace cobblet {

class MenuStyle;

/// The toolkit's menus, each made when it is asked for. Needs a QApplication.
class QtMenus : public Menus {
public:
    using SymbolSource = std::function<QIcon(const QString &symbol, const QColor &color)>;

    QtMenus();
    ~QtMenus() override;

    Availability availability() const override { return Availability::works(); }
    void popUp(const QList<MenuItem> &items, QWindow *window, const QPointF &position) override;
    void setSymbolSource(SymbolSource source) override { m_symbols = std::move(source); }
    void setLook(std::function<MenuLook(const QWindow *)> look) override { m_look = std::move(look); }

    /// Opens the menu above or below a rectangle of the screen (points), on the side that has more room.
    void popUpBeside(const QList<MenuItem> &items, const QRect &anchor);
    /// Adds the entries to a menu that is shown by others, with their symbols in this colour.
    void fill(QMenu &menu, const QList<MenuItem> &items, const QColor &symbolColor);
    /// Draws the symbols of such a menu, but not of those below it, in another colour.
    void recolor(QMenu &menu, const QColor &symbolColor) const;

private:
    QMenu &made(const QList<MenuItem> &items, const QWindow *window);
    void dress(QMenu &menu, const MenuLook &look);
    QIcon symbol(const QString &name, const QColor &color) const;

    QObject m_context; ///< of the actions
    SymbolSource m_symbols;
    std::function<MenuLook(const QWindow *)> m_look;
    std::unique_ptr<MenuStyle> m_style; ///< made with the first menu that has a look
    QPointer<QMenu> m_open;
};

} // namespace cobblet
