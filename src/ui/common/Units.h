#pragma once

#include "platform/PanelSurface.h"

#include <QEasingCurve>
#include <QFont>
#include <QObject>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

/// Sizes in points, durations in milliseconds, and fonts that the views share.
class Units : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(int hover MEMBER hover CONSTANT)
    Q_PROPERTY(int selection MEMBER selection CONSTANT)
    Q_PROPERTY(int springDuration MEMBER springDuration CONSTANT)
    Q_PROPERTY(QEasingCurve spring READ spring CONSTANT)
    Q_PROPERTY(double hoverScale MEMBER hoverScale CONSTANT)
    Q_PROPERTY(int rowHeight MEMBER rowHeight CONSTANT)
    Q_PROPERTY(int rowRadius MEMBER rowRadius CONSTANT)
    Q_PROPERTY(QString fixedFont READ fixedFont CONSTANT)
    Q_PROPERTY(QFont emojiFont READ emojiFont CONSTANT)
    Q_PROPERTY(QFont titleFont READ titleFont CONSTANT)
public:
    static constexpr int hover = 120;
    static constexpr int selection = 150;
    static constexpr int springDuration = 450;
    static constexpr double hoverScale = 1.06;
    static constexpr int rowHeight = 31;
    static constexpr int rowRadius = 8;

    /// A spring with a response of 0.22 s and a damping fraction of 0.55, released at rest.
    static double springProgress(double seconds);
    static QEasingCurve spring();
    /// What a view leaves free at the right and lower edge of its window at this scale, in points.
    Q_INVOKABLE static int overhang(double scale) { return cobblet::overhang(scale); }
    /// The desktop's fixed-width family.
    static QString fixedFont();
    /// The emoji of a tab. Other fonts have drawings of some emoji, too: the coloured ones come first.
    static QFont emojiFont();
    Q_INVOKABLE static QFont emojiFontOf(int pixels);
    /// Whether an installed font draws emoji; without one groups show an empty box or nothing before their names.
    static bool hasEmojiFont();
    /// The title of a cell: 11.5 points, which are not the toolkit's own points.
    static QFont titleFont();
};

} // namespace cobblet
