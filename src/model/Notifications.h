#pragma once

#include <QObject>
#include <QSizeF>
#include <QString>
#include <QUuid>
#include <QVariantMap>

namespace cobblet {

/// Names of the messages that tie the entries, the panel and its views together, and their payload keys.
namespace notification {
inline constexpr QLatin1String showPanel{"Cobblet.showPanel"};
inline constexpr QLatin1String closePanel{"Cobblet.closePanel"};
inline constexpr QLatin1String openSettings{"Cobblet.openSettings"};
/// "digit": int, 1 to 9.
inline constexpr QLatin1String selectGroupShortcut{"Cobblet.selectGroupShortcut"};
/// "id": QUuid.
inline constexpr QLatin1String selectGroupByID{"Cobblet.selectGroupByID"};
/// "size": QSizeF, points.
inline constexpr QLatin1String panelDesiredSizeChanged{"Cobblet.panelDesiredSizeChanged"};
/// Between processes; the object is the group's upper-case id.
inline constexpr QLatin1String repaintTile{"com.cobblet.repaintTile"};
} // namespace notification

/// Messages inside this process. Posting is synchronous: every observer has run when post() returns, in the
/// order in which they began to observe. Main thread only.
class NotificationCenter : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    void post(QLatin1String name, const QVariantMap &userInfo = {});

    /// Calls `handler` with the payload of every later message of this name, until `context` is destroyed.
    template<class Handler>
    void observe(QLatin1String name, QObject *context, Handler handler)
    {
        connect(this, &NotificationCenter::posted, context,
                [name, handler = std::move(handler)](const QString &posted, const QVariantMap &userInfo) {
                    if (posted == name)
                        handler(userInfo);
                });
    }

signals:
    void posted(const QString &name, const QVariantMap &userInfo);
};

} // namespace cobblet
