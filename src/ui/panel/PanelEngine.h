#pragma once

#include <QMetaObject>
#include <QQmlEngine>
#include <QUrl>

namespace cobblet {

/// A file of the panel's QML module.
inline QUrl panelSource(const QString &file)
{
    return QUrl(QStringLiteral("qrc:/qt-project.org/imports/Cobblet/Panel/") + file);
}

/// Hands a C++ object to the QML singleton of its type, in this engine only.
template<class T>
void provideToQml(QQmlEngine &engine, T *object)
{
    QJSEngine::setObjectOwnership(object, QJSEngine::CppOwnership);
    engine.setProperty(T::staticMetaObject.className(), QVariant::fromValue(object));
}

/// What provideToQml() was given.
template<class T>
T *providedToQml(const QQmlEngine &engine)
{
    T *object = engine.property(T::staticMetaObject.className()).template value<T *>();
    Q_ASSERT(object);
    return object;
}

} // namespace cobblet
