#pragma once

#include "platform/IntentsHost.h"

#include <QObject>
#include <QString>
#include <QStringList>

namespace cobblet {

/// At most one running process per bundle identifier and session, and how a later start reaches it.
class Instance : public QObject {
    Q_OBJECT
public:
    enum class Role {
        First,     ///< this process is the one that runs, or the desktop cannot tell (logged)
        HandedOver ///< another one runs and has been asked in its place; this process has nothing left to do
    };

    /// Whether a later start finds this process.
    virtual Availability availability() const = 0;

    /// Called once, before any window exists. `arguments`, without the program's name, is what another instance is
    /// asked to carry out; with none it is asked to reopen.
    virtual Role claim(const QStringList &arguments) = 0;
    /// What the other instance answered to the arguments, once they were handed over.
    const CommandReply &answer() const { return m_answer; }

signals:
    /// The application's icon was clicked again, or a later start handed over its request. `token` is the
    /// startup-notification or activation token that came with it, possibly empty.
    void reopen(const QString &token);

protected:
    CommandReply m_answer;
};

} // namespace cobblet
