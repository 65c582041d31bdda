#pragma once

#include "model/AppGroup.h"
#include "platform/Scheduler.h"

#include <QObject>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

class ConfigManager;

/// The groups that were deleted in this window, as long as they can be brought back: the last one first, ten seconds
/// from when one was deleted or brought back.
class DeletedGroups : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Settings.deleted is the one instance.")
    Q_PROPERTY(QString notice READ notice NOTIFY noticeChanged)
public:
    /// The references outlive the object.
    DeletedGroups(ConfigManager &config, Scheduler &scheduler, QObject *parent = nullptr);

    /// Says which group Undo brings back; empty when there is none.
    QString notice() const;

    /// Deletes the group, if there is one.
    void deleteGroup(const QUuid &id);
    /// Brings the last one back: in its place, with its digits, as an application of its own if it was one.
    Q_INVOKABLE void undo();

signals:
    void noticeChanged();
    void restored(const QUuid &id);

private:
    struct Deleted {
        AppGroup group;
        qsizetype index = 0;
        QList<int> digits;
    };
    void changed();

    ConfigManager &m_config;
    Scheduler &m_scheduler;
    QList<Deleted> m_deleted; ///< in the order of deletion
    Scheduler::Handle m_end;
};

} // namespace cobblet
