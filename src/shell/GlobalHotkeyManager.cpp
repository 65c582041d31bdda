#include "shell/GlobalHotkeyManager.h"

#include "model/Notifications.h"
#include "platform/Scheduler.h"

#include <QLoggingCategory>
#include <QPointer>

namespace cobblet {

Q_LOGGING_CATEGORY(lcHotkeys, "cobblet.hotkeys")

namespace {

struct Row {
    int digit;
    int keyCode;
};

/// The codes of an ANSI keyboard's digits, which are not in the order of the digits.
constexpr Row rows[] = {{1, 18}, {2, 19}, {3, 20}, {4, 21}, {5, 23}, {6, 22}, {7, 26}, {8, 28}, {9, 25}};

constexpr quint32 signature = 'C' << 24 | 'B' << 16 | 'L' << 8 | 'T';

} // namespace

HotKeyID GlobalHotkeyManager::idOf(int digit)
{
    return {signature, quint32(digit)};
}

QList<HotKey> GlobalHotkeyManager::table()
{
    QList<HotKey> keys;
    for (const auto &[digit, keyCode] : rows)
        keys.append({keyCode, modifier::option | modifier::shift, idOf(digit), QStringLiteral("group-%1").arg(digit),
                     QStringLiteral("Show group %1 in Cobblet").arg(digit)});
    return keys;
}

GlobalHotkeyManager::GlobalHotkeyManager(HotKeys &hotKeys, NotificationCenter &notifications, Scheduler &scheduler)
    : m_hotKeys(hotKeys), m_notifications(notifications), m_scheduler(scheduler)
{
    m_eventHandlerRef = connect(&hotKeys, &HotKeys::pressed, this,
                                [this](const HotKeyID &pressed) { hotKeyPressed(int(pressed.id)); });
    connect(&hotKeys, &HotKeys::refused, this, [this](const HotKeyID &refused, const QString &reason) {
        addConflict(int(refused.id), reason);
        emit conflictedDigitsChanged();
    });
    connect(&hotKeys, &HotKeys::changed, this, [this] {
        if (const Availability now = availability(); now.level == Availability::Level::Not)
            qCWarning(lcHotkeys).noquote() << now.sentence;
        emit changed();
    });
    const QList<HotKey> keys = table();
    std::vector<Result<HotKeys::Handle>> results = hotKeys.registerAll(keys);
    for (size_t i = 0; i < results.size(); ++i) {
        HotKeys::Handle handle = results[i] ? std::move(results[i]).value() : nullptr;
        if (handle)
            m_hotKeyRefs.push_back(std::move(handle));
        else
            addConflict(int(keys[qsizetype(i)].id.id));
    }
    emit conflictedDigitsChanged();
}

/// Where there are no hot keys for this program at all, nobody else has taken one.
void GlobalHotkeyManager::addConflict(int digit, const QString &reason)
{
    if (m_hotKeys.availability().level == Availability::Level::Not)
        return;
    m_conflictedDigits.insert(digit);
    m_reasons[digit] = reason;
}

QString GlobalHotkeyManager::conflict(int digit) const
{
    if (!m_conflictedDigits.contains(digit))
        return {};
    if (const QString reason = m_reasons.value(digit); !reason.isEmpty())
        return reason;
    return QStringLiteral(
               "⌥⇧%1 is already used by another app, so the global shortcut won't activate this group. Quit "
               "the conflicting app or change its shortcut to fix it.")
        .arg(digit);
}

Availability GlobalHotkeyManager::availability() const
{
    Availability availability = m_hotKeys.availability();
    if (availability.level == Availability::Level::Not)
        availability.sentence +=
            QStringLiteral(" Bind keys to the command “cobblet show NAME” in the desktop's keyboard settings.");
    if (availability.level != Availability::Level::Works || m_conflictedDigits.isEmpty())
        return availability;
    QStringList taken, reasons;
    for (int digit = 1; digit <= 9; ++digit) {
        const QString reason = m_reasons.value(digit);
        if (m_conflictedDigits.contains(digit) && reason.isEmpty())
            taken.append(QString::number(digit));
        else if (!reason.isEmpty() && !reasons.contains(reason))
            reasons.append(reason);
    }
    if (!taken.isEmpty())
        reasons.prepend(QStringLiteral("Other programs have the combinations of %1: quit them or change their "
                                       "shortcuts, and start Cobblet again.")
                            .arg(taken.join(QStringLiteral(", "))));
    return Availability::partly(reasons.join(QLatin1Char(' ')));
}

GlobalHotkeyManager::~GlobalHotkeyManager()
{
    m_hotKeyRefs.clear();
    disconnect(m_eventHandlerRef);
}

void GlobalHotkeyManager::hotKeyPressed(int digit)
{
    m_scheduler.detached(std::chrono::milliseconds(0), [self = QPointer(this), digit] {
        if (!self)
            return;
        NotificationCenter &notifications = self->m_notifications;
        emit notifications.showPanel();
        emit notifications.selectGroupShortcut(digit);
    });
}

} // namespace cobblet
