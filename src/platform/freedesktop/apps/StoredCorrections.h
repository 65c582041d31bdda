#pragma once

#include "platform/UserDefaults.h"
#include "platform/freedesktop/apps/WindowResolver.h"

namespace cobblet {

/// What a person said of windows and programs that the resolver takes for the wrong application, in the preferences
/// that all processes share. Main thread.
class StoredCorrections : public QObject {
    Q_OBJECT
public:
    static constexpr qsizetype maximumNumber = 200;
    static constexpr qsizetype maximumText = 1000; ///< of a mark or an identifier

    /// `defaults` outlives the object.
    explicit StoredCorrections(UserDefaults &defaults);

    const Corrections &all() const { return m_all; }
    /// An empty identifier ends the correction. An error when there is too much to keep, or it can't be written.
    Status set(const QString &mark, const QString &id);

signals:
    void changed();

private:
    Corrections stored() const;
    void follow();

    UserDefaults &m_defaults;
    Corrections m_all;
};

} // namespace cobblet
