#pragma once

#include "platform/HotKeys.h"

#include <QMap>
#include <QSet>

#include <vector>

namespace cobblet {

class NotificationCenter;
class Scheduler;

/// Nine key combinations for the whole desktop, Option-Shift-1 to Option-Shift-9, each of which shows the panel
/// with the group of its digit. They are registered once, for the life of this object; which group a digit stands
/// for is looked up when it is pressed. Main thread only.
class GlobalHotkeyManager : public QObject {
    Q_OBJECT
    Q_PROPERTY(QSet<int> conflictedDigits READ conflictedDigits NOTIFY conflictedDigitsChanged)
public:
    /// Registers the nine. The references outlive this object.
    GlobalHotkeyManager(HotKeys &hotKeys, NotificationCenter &notifications, Scheduler &scheduler);
    ~GlobalHotkeyManager() override;

    /// The digits whose combination somebody else has, to the end of the process; none where availability() says that
    /// this program has no hot keys at all.
    const QSet<int> &conflictedDigits() const { return m_conflictedDigits; }
    /// Why a digit's combination does not show its group, and what to do about it; empty for one that has no
    /// conflict.
    QString conflict(int digit) const;
    /// What the desktop says to press for a digit, when that is its own choice; empty when it is as asked.
    QString trigger(int digit) const { return m_hotKeys.trigger(idOf(digit)); }
    /// How far hot keys work, with what a person can do where they don't.
    Availability availability() const;
    /// In the order of registration.
    const std::vector<HotKeys::Handle> &hotKeyRefs() const { return m_hotKeyRefs; }

    /// Option-Shift-1 to Option-Shift-9.
    static QList<HotKey> table();

signals:
    void conflictedDigitsChanged();
    /// availability() or a trigger() changed.
    void changed();

private:
    static HotKeyID idOf(int digit);
    /// `reason` is the desktop's own; without one, somebody else has the combination.
    void addConflict(int digit, const QString &reason = {});
    void hotKeyPressed(int digit);

    HotKeys &m_hotKeys;
    NotificationCenter &m_notifications;
    Scheduler &m_scheduler;
    QSet<int> m_conflictedDigits;
    QMap<int, QString> m_reasons; ///< the desktop's own for not giving a digit
    std::vector<HotKeys::Handle> m_hotKeyRefs;
    QMetaObject::Connection m_eventHandlerRef;
};

} // namespace cobblet
