#pragma once

#include "ui/common/EngineSingleton.h"

#include <QQuickItem>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

class Menus;

/// The menus of controls that offer one of several choices.
class Choices : public QObject, public EngineSingleton<Choices> {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    /// The menus outlive the engine.
    explicit Choices(Menus &menus) : m_menus(menus) {}

    /// Opens the choices below `control`; the current one has a check mark. The control's signal `chosen(int)` tells
    /// which one was taken.
    Q_INVOKABLE void open(const QStringList &choices, int current, QQuickItem *control);

private:
    Menus &m_menus;
};

} // namespace cobblet
