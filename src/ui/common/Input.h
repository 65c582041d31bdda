#pragma once

#include <QObject>

#include <QtQml/qqmlregistration.h>

/// The buttons and keys that QML tells apart, with the toolkit's values. Where QML names one of the toolkit's own,
/// the engine keeps the names of all the toolkit's enumerations: 0.2 MB in Cobblet and in each agent.
namespace cobblet::Input {
Q_NAMESPACE
QML_ELEMENT

enum Button { LeftButton = Qt::LeftButton, RightButton = Qt::RightButton };
Q_ENUM_NS(Button)

enum Key {
    KeyF10 = Qt::Key_F10,
    KeyHome = Qt::Key_Home,
    KeyEnd = Qt::Key_End,
    KeyPageUp = Qt::Key_PageUp,
    KeyPageDown = Qt::Key_PageDown
};
Q_ENUM_NS(Key)

enum Modifier { ShiftModifier = Qt::ShiftModifier };
Q_ENUM_NS(Modifier)

} // namespace cobblet::Input
