#pragma once

#include "platform/Menus.h"

#include <QPointer>

class QMenu;

namespace cobblet {

/// The toolkit's menus, each made when it is asked for. Needs a QApplication.
class QtMenus : public Menus {
public:
    ~QtMenus() override;

    void popUp(const QList<MenuItem> &items, QWindow *window, const QPointF &position) override;
    void setSymbolSource(std::function<QIcon(const QString &)> source) override { m_symbols = std::move(source); }

private:
    void fill(QMenu &menu, const QList<MenuItem> &items) const;

    std::function<QIcon(const QString &)> m_symbols;
    QPointer<QMenu> m_open;
};

} // namespace cobblet
