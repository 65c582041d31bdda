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
                      .action =
                          [i, choices, control = QPointer(control)] {
                              // Not when they have changed under the open menu: it would be another one.
                              if (control && control->property("choices").toStringList() == choices)
                                  QMetaObject::invokeMethod(control, "chosen", Q_ARG(int, i));
                          },
                      .isCurrent = i == current});
    m_menus.popUp(items, control->window(), control->mapToScene(QPointF(0, control->height() + 4)));
}

} // namespace cobblet
