#pragma once

#include "platform/Availability.h"

#include <QList>
#include <QObject>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <optional>

namespace cobblet {

/// One screen. Rectangles are in points (logical pixels), y-up, with the origin of the coordinate system at
/// the bottom left corner of the main screen; minX()/minY() of a frame are left()/top() of the QRectF, so
/// that top() is the lower edge on the glass.
struct Screen {
    QString name;
    QRectF frame;        ///< the whole screen
    QRectF visibleFrame; ///< the frame less docks and panels

    bool operator==(const Screen &) const = default;
};

/// The screens and the pointer, all in y-up points; the one place that converts to and from the window
/// system's y-down coordinates. Main thread only.
class Screens : public QObject {
    Q_OBJECT
public:
    virtual Availability availability() const = 0;

    /// All screens, the main screen first. Empty when there is none.
    virtual QList<Screen> screens() const = 0;
    /// Where the pointer is; absent when the desktop does not tell.
    virtual std::optional<QPointF> pointer() const = 0;
    /// A y-up rectangle as the y-down one (in points) that the toolkit places windows with.
    virtual QRectF toWindowSystem(const QRectF &yUp) const = 0;

signals:
    void changed();
};

} // namespace cobblet
