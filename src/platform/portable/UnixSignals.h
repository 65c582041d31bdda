#pragma once

#include <QObject>

namespace cobblet {

/// Turns the requests of the system to end (SIGTERM, SIGINT, SIGHUP) into a signal on the event loop, so that the
/// program quits as it does otherwise. One object per process; main thread only.
class UnixSignals : public QObject {
    Q_OBJECT
public:
    explicit UnixSignals(QObject *parent = nullptr);
    ~UnixSignals() override;

signals:
    void quitRequested();
};

} // namespace cobblet
