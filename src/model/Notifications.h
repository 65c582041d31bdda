#pragma once

#include <QLatin1String>
#include <QObject>
#include <QSizeF>
#include <QUuid>

namespace cobblet {

/// The messages inside this process that tie the entries, the panel and its views together: a signal for each, with
/// its name outside the program beside it. Emitting is synchronous: every observer has run when it returns, in the
/// order in which they connected, so "show" and then "select" arrive in that order. Main thread only.
class NotificationCenter : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

signals:
    void showPanel();    ///< "Cobblet.showPanel"
    void closePanel();   ///< "Cobblet.closePanel"
    void openSettings(); ///< "Cobblet.openSettings"
    /// "Cobblet.selectGroupShortcut": 1 to 9.
    void selectGroupShortcut(int digit);
    /// "Cobblet.selectGroupByID"
    void selectGroupByID(const QUuid &id);
    /// "Cobblet.panelDesiredSizeChanged": points.
    void panelDesiredSizeChanged(const QSizeF &size);
};

namespace notification {
/// Between processes: draw the tile of the group anew whose upper-case id is the object.
inline constexpr QLatin1String repaintTile{"com.cobblet.repaintTile"};
} // namespace notification

} // namespace cobblet
