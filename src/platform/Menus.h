#pragma once

#include "platform/Availability.h"

#include <QColor>
#include <QIcon>
#include <QKeySequence>
#include <QList>
#include <QPointF>
#include <QString>

#include <functional>

class QWindow;

namespace cobblet {

/// One entry of a menu; an entry with neither title nor children is a separator.
struct MenuItem {
    QString title = {};
    QString symbol = {};                    ///< symbol name ("pin"), or empty
    std::function<void()> action = nullptr; ///< unused when there are children
    QList<MenuItem> children = {};
    bool destructive = false; ///< drawn so that it stands out
    bool enabled = true;
    bool isCurrent = false;     ///< the menu opens with this entry in view and under the keys
    QKeySequence shortcut = {}; ///< shown beside the title; the menu itself does not listen for it

    bool isSeparator() const { return title.isEmpty() && children.isEmpty(); }
};

/// The colours of menus.
struct MenuLook {
    QColor background = {};
    QColor border = {};
    QColor separator = {};
    QColor text = {};
    QColor disabled = {};                     ///< text that cannot be chosen
    QColor destructive = QColor(224, 60, 50); ///< text and symbol; read on light and dark menus
    QColor accent = {};                       ///< under the entry that is pointed at
    QColor accentText = {};                   ///< text on it
    bool blends = false;                      ///< the desktop blends windows: corners are smooth
};

/// Context menus, which may reach beyond the window they belong to.
class Menus {
public:
    virtual ~Menus() = default;

    virtual Availability availability() const = 0;

    /// Where the pictures of symbols, in a colour, come from; without one, entries have none.
    virtual void setSymbolSource(std::function<QIcon(const QString &symbol, const QColor &color)>) {}

    /// Where the colours come from, asked for each menu with the window that it opens over, which is null for the
    /// desktop's own places; without, menus look as the desktop's do. Where the desktop draws menus itself, it may be
    /// ignored.
    virtual void setLook(std::function<MenuLook(const QWindow *window)>) {}

    /// Opens the menu at a point of the window (y-down points from its top left corner) and returns at once.
    virtual void popUp(const QList<MenuItem> &items, QWindow *window, const QPointF &position) = 0;
};

} // namespace cobblet
