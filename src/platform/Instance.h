#pragma once

#include <QObject>
#include <QString>

namespace cobblet {

/// At most one running process per bundle identifier and session, and how a later start reaches it.
class Instance : public QObject {
    Q_OBJECT
public:
    enum class Role {
        First,     ///< this process is the one that runs, or the desktop cannot tell (logged)
        HandedOver ///< another one runs and has been asked to reopen; this process has nothing left to do
    };

    /// Called once, before any window exists.
    virtual Role claim() = 0;

signals:
    /// The application's icon was clicked again, or a later start handed over its request. `token` is the
    /// startup-notification or activation token that came with it, possibly empty.
    void reopen(const QString &token);
};

} // namespace cobblet
