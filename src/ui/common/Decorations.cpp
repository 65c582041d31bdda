#include "ui/common/Decorations.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMetaEnum>
#include <QQmlComponent>
#include <QQuickWindow>
#include <QTimerEvent>

#include <algorithm>

namespace cobblet {

namespace {

constexpr int tipDelayMilliseconds = 700;

constexpr Qt::Key movesFocus[] = {Qt::Key_Tab, Qt::Key_Backtab, Qt::Key_Left, Qt::Key_Right,
                                  Qt::Key_Up,  Qt::Key_Down,    Qt::Key_Home, Qt::Key_End};

} // namespace

Decorations::Decorations(QQmlEngine &engine) : m_engine(engine) {}

Decorations::~Decorations() = default;

void Decorations::follow(QWindow &window)
{
    window.installEventFilter(this);
}

void Decorations::setKeyboardFocus(bool visible)
{
    if (m_keyboardFocus == visible)
        return;
    m_keyboardFocus = visible;
    emit keyboardFocusChanged();
}

bool Decorations::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        if (std::ranges::count(movesFocus, static_cast<QKeyEvent *>(event)->key()) > 0)
            setKeyboardFocus(true);
    } else if (event->type() == QEvent::MouseButtonPress) {
        setKeyboardFocus(false);
    } else if (event->type() == QEvent::Hide) {
        setKeyboardFocus(false);
        closeTip();
        // A window that goes away from under the pointer is not told that the pointer left it.
        QEvent leave(QEvent::Leave);
        QCoreApplication::sendEvent(watched, &leave);
    }
    return QObject::eventFilter(watched, event);
}

QQuickItem *Decorations::make(Kind kind, QQuickItem *parent, const QVariantMap &properties)
{
    auto &component = m_components[kind];
    if (!component) {
        const QString name = QLatin1String(QMetaEnum::fromType<Kind>().valueToKey(kind));
        const QUrl source(QStringLiteral("qrc:/qt-project.org/imports/Cobblet/Controls/%1.qml").arg(name));
        component = std::make_unique<QQmlComponent>(&m_engine, source);
    }
    auto *item = qobject_cast<QQuickItem *>(component->beginCreate(m_engine.rootContext()));
    if (!item) {
        qWarning("%s", qPrintable(component->errorString()));
        return nullptr;
    }
    QJSEngine::setObjectOwnership(item, QJSEngine::CppOwnership);
    item->setParent(parent);
    item->setParentItem(parent);
    component->setInitialProperties(item, properties);
    component->completeCreate();
    return item;
}

void Decorations::dismiss(QQuickItem *decoration)
{
    if (decoration)
        decoration->deleteLater();
}

void Decorations::expectTip(QQuickItem *owner, const QString &text)
{
    closeTip();
    m_tipOwner = owner;
    m_tipText = text;
    m_tipDelay.start(tipDelayMilliseconds, this);
}

void Decorations::closeTip()
{
    m_tipDelay.stop();
    m_tipOwner = nullptr;
    if (m_tip)
        m_tip->deleteLater();
    m_tip = nullptr;
}

void Decorations::timerEvent(QTimerEvent *event)
{
    if (event->timerId() != m_tipDelay.timerId())
        return;
    m_tipDelay.stop();
    if (m_tipOwner && m_tipOwner->window())
        m_tip = make(
            TipBubble, m_tipOwner->window()->contentItem(),
            {{QStringLiteral("owner"), QVariant::fromValue(m_tipOwner.get())}, {QStringLiteral("text"), m_tipText}});
}

} // namespace cobblet
