#include "ui/common/Choices.h"

#include "platform/Menus.h"

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>

namespace cobblet {

void Choices::open(const QStringList &choices, int current, QQuickItem *control)
{
    if (!control || !control->window())
        return;
    QList<MenuItem> items;
    for (int i = 0; i < choices.size(); ++i)
        items.append({.title = choices[i],
                      .symbol = i == current ? QStringLiteral("checkmark") : QString(),
                      .action = [i, control = QPointer(control)] {
                          if (control)
                              QMetaObject::invokeMethod(control, "chosen", Q_ARG(int, i));
                      }});
    m_menus.popUp(items, control->window(), control->mapToScene(QPointF(0, control->height() + 4)));
}

} // namespace cobblet
