#pragma once

#include "platform/Availability.h"
#include "platform/Result.h"

#include <QObject>
#include <QString>

namespace cobblet {

/// Named messages between the processes of one user's session. Main thread only.
class DistributedNotifications : public QObject {
    Q_OBJECT
public:
    virtual Availability availability() const = 0;

    /// Posts with immediate delivery; fails, with the reason, where there is no session to post in.
    virtual Status post(const QString &name, const QString &object) = 0;

signals:
    /// A message from any process of the session, this one included.
    void received(const QString &name, const QString &object);
};

} // namespace cobblet
