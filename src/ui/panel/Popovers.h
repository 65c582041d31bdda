#pragma once

#include <QObject>
#include <QQuickItem>
#include <QRectF>
#include <QRegion>
#include <QUrl>

#include <QtQml/qqmlregistration.h>

#include <memory>

class QJSEngine;
class QQmlEngine;
class QQuickView;
class QWindow;

namespace cobblet {

/// The pixels of a rounded rectangle at the origin, for windows that cannot be blended.
QRegion roundedRegion(const QSize &size, double radius);

/// The panel's popovers: small borderless windows beside the control that opened them. At most one is open, it
/// is made when it opens, and it goes with the panel or with a press elsewhere in it.
class Popovers : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool showingHint READ showingHint NOTIFY changed)
    Q_PROPERTY(bool showingAddGroup READ showingAddGroup NOTIFY changed)
public:
    Popovers(QQmlEngine &engine, QWindow &panel, QObject *parent = nullptr);
    ~Popovers() override;

    static Popovers *create(QQmlEngine *engine, QJSEngine *);

    bool showingHint() const { return m_open == Kind::Hint; }
    bool showingAddGroup() const { return m_open == Kind::AddGroup; }
    /// Null while none is open.
    QQuickView *window() const { return m_view.get(); }

    Q_INVOKABLE void toggleHint(QQuickItem *anchor);
    Q_INVOKABLE void toggleAddGroup(QQuickItem *anchor);
    Q_INVOKABLE void close();

    /// The panel was pressed at this point: what is open closes, unless its own control was hit.
    void panelPressed(const QPointF &position);

signals:
    void changed();

private:
    enum class Kind { None, Hint, AddGroup };
    void toggle(Kind kind, QQuickItem *anchor);
    void open(Kind kind, QQuickItem *anchor);

    QQmlEngine &m_engine;
    QWindow &m_panel;
    std::unique_ptr<QQuickView> m_view;
    QRectF m_anchor; ///< of the open popover, in the panel
    Kind m_open = Kind::None;
};

} // namespace cobblet
