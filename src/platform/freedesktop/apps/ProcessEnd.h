#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

namespace cobblet {

/// Tells when a process ends, whoever its parent is. A child of this process is reaped, so that it leaves no
/// zombie behind. Main thread.
class ProcessEnd : public QObject {
    Q_OBJECT
public:
    /// Null when there is no such process (any more), or the kernel cannot watch it.
    static std::unique_ptr<ProcessEnd> watch(qint64 pid);
    ~ProcessEnd() override;

signals:
    /// Once.
    void ended();

private:
    explicit ProcessEnd(int descriptor);

    int m_descriptor;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace cobblet
