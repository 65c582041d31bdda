#include "platform/freedesktop/apps/SleepMonitor.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QLoggingCategory>
#include <QPointer>
#include <QThreadPool>

#include <utility>

namespace cobblet {

Q_LOGGING_CATEGORY(lcSleep, "cobblet.sleep")

void SleepMonitor::start()
{
    if (std::exchange(m_started, true))
        return;
    QThreadPool::globalInstance()->start([self = QPointer<SleepMonitor>(this)] {
        const QDBusConnection bus = QDBusConnection::systemBus();
        if (!bus.isConnected()) {
            qCInfo(lcSleep).noquote() << "Waking from sleep will not be noticed:" << bus.lastError().message();
            return;
        }
        if (auto *application = QCoreApplication::instance())
            QMetaObject::invokeMethod(
                application,
                [self] {
                    if (self)
                        self->subscribe();
                },
                Qt::QueuedConnection);
    });
}

void SleepMonitor::subscribe()
{
    // Without a service name, which would be looked up first and waited for.
    QDBusConnection::systemBus().connect(QString(), QStringLiteral("/org/freedesktop/login1"),
                                         QStringLiteral("org.freedesktop.login1.Manager"),
                                         QStringLiteral("PrepareForSleep"), this, SLOT(prepareForSleep(bool)));
}

void SleepMonitor::prepareForSleep(bool aboutToSleep)
{
    if (!aboutToSleep)
        emit woke();
}

} // namespace cobblet
