#pragma once

#include "ui/common/EngineSingleton.h"

#include <QObject>
#include <QPointer>
#include <QQmlComponent>
#include <QQuickItem>
#include <QRegion>

#include <QtQml/qqmlregistration.h>

#include <memory>

class QQuickWindow;

namespace cobblet {

/// The pixels of a rounded rectangle at the origin, for windows that cannot be blended.
QRegion roundedRegion(const QSize &size, double radius);

/// Small borderless windows beside the control that opened them, its anchor. At most one is open; it is made when
/// it opens, and goes with the anchor's window or with a press elsewhere in it.
class Popovers : public QObject, public EngineSingleton<Popovers> {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QQuickItem *anchor READ anchor NOTIFY anchorChanged)
public:
    explicit Popovers(QObject *parent);
    ~Popovers() override;

    /// Null while none is open.
    QQuickItem *anchor() const { return m_anchor; }
    QQuickWindow *window() const { return m_window.get(); }
    /// An event filter that sees the events of every popover first.
    void setKeyMonitor(QObject *monitor) { m_keyMonitor = monitor; }

    /// Opens a PopoverFrame beside the anchor, or closes the one that is open there.
    Q_INVOKABLE void toggle(QQmlComponent *content, QQuickItem *anchor);
    Q_INVOKABLE void close();

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void anchorChanged();

private:
    void open(QQmlComponent &component, QQuickItem &anchor);

    std::unique_ptr<QQuickWindow> m_window;
    QPointer<QQuickWindow> m_closed; ///< goes once the event that closed it is through
    QPointer<QQuickItem> m_anchor;
    QPointer<QObject> m_keyMonitor;
};

} // namespace cobblet
