#pragma once

#include <QBasicTimer>
#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QVariantMap>

#include <QtQml/qqmlregistration.h>

#include <map>
#include <memory>

class QJSEngine;
class QQmlComponent;
class QQmlEngine;

namespace cobblet {

/// Makes what only a pointer or the keyboard brings up (hover fills, focus rings, bubbles, tips) when it is
/// needed, so that a control nobody points at carries none of it.
class Decorations : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
public:
    enum Kind { HoverFill, FocusRing, HintBubble, TipBubble };
    Q_ENUM(Kind)

    explicit Decorations(QQmlEngine &engine, QObject *parent = nullptr);
    ~Decorations() override;

    static Decorations *create(QQmlEngine *engine, QJSEngine *);

    /// A decoration in `parent`, which owns it; null when the engine cannot make it.
    Q_INVOKABLE QQuickItem *make(cobblet::Decorations::Kind kind, QQuickItem *parent,
                                 const QVariantMap &properties = {});

    /// Deletes a decoration that make() returned, once the current event is through.
    Q_INVOKABLE void dismiss(QQuickItem *decoration);

    /// The pointer came to rest on a control: its tip opens a moment later, in the control's window.
    Q_INVOKABLE void expectTip(QQuickItem *owner, const QString &text);
    Q_INVOKABLE void closeTip();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    QQmlEngine &m_engine;
    std::map<Kind, std::unique_ptr<QQmlComponent>> m_components;
    QBasicTimer m_tipDelay;
    QPointer<QQuickItem> m_tipOwner;
    QString m_tipText;
    QPointer<QQuickItem> m_tip;
};

} // namespace cobblet
