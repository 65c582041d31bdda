#pragma once

#include "ui/common/EngineSingleton.h"

#include <QObject>
#include <QPointer>
#include <QQmlComponent>
#include <QQuickItem>
#include <QRegion>

#include <QtQml/qqmlregistration.h>

#include <memory>
#include <vector>

class QQuickWindow;

namespace cobblet {

/// The pixels of a rounded rectangle at the origin, for windows that cannot be blended.
QRegion roundedRegion(const QSize &size, double radius);

/// Small borderless windows beside the control that opened them, its anchor. One is open at a time, and those that
/// were opened from controls within it, each from the one before. It is made when it opens, and goes with the
/// anchor's window or with a press elsewhere in it, together with those that it opened. Escape belongs to the
/// innermost.
class Popovers : public QObject, public EngineSingleton<Popovers> {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QQuickItem *anchor READ anchor NOTIFY anchorChanged)
public:
    explicit Popovers(QObject *parent);
    ~Popovers() override;

    /// Of the innermost; null while none is open.
    QQuickItem *anchor() const { return m_open.empty() ? nullptr : m_open.back().anchor.get(); }
    QQuickWindow *window() const { return m_open.empty() ? nullptr : m_open.back().window.get(); }
    /// An event filter that sees the events of popovers first, but not of those that were opened from within another.
    void setKeyMonitor(QObject *monitor) { m_keyMonitor = monitor; }

    /// Opens a PopoverFrame beside the anchor, or closes the one that is open there.
    Q_INVOKABLE void toggle(QQmlComponent *content, QQuickItem *anchor);

    bool eventFilter(QObject *watched, QEvent *event) override;

public slots:
    /// The innermost.
    void close();

signals:
    void anchorChanged();

private:
    struct Popover {
        std::unique_ptr<QQuickWindow> window;
        QPointer<QQuickItem> anchor;
    };
    void open(QQmlComponent &component, QQuickItem &anchor);
    size_t depthOf(const QObject *window) const;
    void closeAbove(size_t depth);

    std::vector<Popover> m_open;            ///< the innermost last
    QList<QPointer<QQuickWindow>> m_closed; ///< go once the event that closed them is through
    QPointer<QObject> m_keyMonitor;
};

} // namespace cobblet
