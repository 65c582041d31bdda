#pragma once

#include "ui/common/EngineSingleton.h"

#include <QBasicTimer>
#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QVariantMap>

#include <QtQml/qqmlregistration.h>

#include <map>
#include <memory>

class QQmlComponent;
class QWindow;

namespace cobblet {

/// Makes what only a pointer or the keyboard brings up (hover fills, focus rings, bubbles, tips) when it is
/// needed, so that a control nobody points at carries none of it.
class Decorations : public QObject, public EngineSingleton<Decorations> {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool keyboardFocus READ keyboardFocus NOTIFY keyboardFocusChanged)
public:
    enum Kind { HoverFill, FocusRing, HintBubble, TipBubble };
    Q_ENUM(Kind)

    explicit Decorations(QQmlEngine &engine);
    ~Decorations() override;

    /// Follows the keyboard and the pointer in a window, and takes its decoration away when it is hidden.
    void follow(QWindow &window);

    /// Whether the focus is to be seen: while the keyboard, not the pointer, moves it.
    bool keyboardFocus() const { return m_keyboardFocus; }
    void setKeyboardFocus(bool visible);

    /// A decoration in `parent`, which owns it; null when the engine cannot make it.
    Q_INVOKABLE QQuickItem *make(cobblet::Decorations::Kind kind, QQuickItem *parent,
                                 const QVariantMap &properties = {});

    /// Deletes a decoration that make() returned, once the current event is through.
    Q_INVOKABLE void dismiss(QQuickItem *decoration);

    /// The pointer came to rest on a control: its tip opens a moment later, in the control's window.
    Q_INVOKABLE void expectTip(QQuickItem *owner, const QString &text);
    Q_INVOKABLE void closeTip();

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    void keyboardFocusChanged();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    QQmlEngine &m_engine;
    std::map<Kind, std::unique_ptr<QQmlComponent>> m_components;
    bool m_keyboardFocus = false;
    QBasicTimer m_tipDelay;
    QPointer<QQuickItem> m_tipOwner;
    QString m_tipText;
    QPointer<QQuickItem> m_tip;
};

} // namespace cobblet
