#include "ui/panel/Decorations.h"

#include "ui/panel/PanelEngine.h"

#include <QMetaEnum>
#include <QQmlComponent>
#include <QQuickWindow>
#include <QTimerEvent>

namespace cobblet {

namespace {

constexpr int tipDelayMilliseconds = 700;

} // namespace

Decorations::Decorations(QQmlEngine &engine, QObject *parent) : QObject(parent), m_engine(engine)
{
    provideToQml(engine, this);
}

Decorations::~Decorations() = default;

Decorations *Decorations::create(QQmlEngine *engine, QJSEngine *)
{
    return providedToQml<Decorations>(*engine);
}

QQuickItem *Decorations::make(Kind kind, QQuickItem *parent, const QVariantMap &properties)
{
    auto &component = m_components[kind];
    if (!component) {
        const char *name = QMetaEnum::fromType<Kind>().valueToKey(kind);
        component =
            std::make_unique<QQmlComponent>(&m_engine, panelSource(QLatin1String(name) + QLatin1String(".qml")));
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
