#pragma once

#include <QJSEngine>
#include <QQmlEngine>
#include <QVariant>

namespace cobblet {

/// A QML singleton that C++ makes: each engine is provided with one of its own.
template<class T>
class EngineSingleton {
public:
    void provideTo(QQmlEngine &engine)
    {
        T *object = static_cast<T *>(this);
        QJSEngine::setObjectOwnership(object, QJSEngine::CppOwnership);
        engine.setProperty(T::staticMetaObject.className(), QVariant::fromValue(object));
    }

    /// What the engine was provided with; QML calls it by this name.
    static T *create(QQmlEngine *engine, QJSEngine *)
    {
        return engine->property(T::staticMetaObject.className()).template value<T *>();
    }
};

} // namespace cobblet
