#pragma once

#include <QObject>

namespace cobblet {

/// Tells when the machine has woken from sleep, as logind announces it on the system bus. The connection is
/// made on a thread of its own when watching starts; without a system bus nothing is ever told.
class SleepMonitor : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    /// The first call subscribes; later ones do nothing.
    void start();

signals:
    void woke();

private slots:
    void prepareForSleep(bool aboutToSleep);

private:
    void subscribe();

    bool m_started = false;
};

} // namespace cobblet
