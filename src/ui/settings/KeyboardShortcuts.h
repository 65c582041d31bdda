#pragma once

#include "ui/common/ListRows.h"

#include <QStringList>
#include <QUuid>

#include <QtQml/qqmlregistration.h>

namespace cobblet {

class ConfigManager;
class GlobalHotkeyManager;

/// A digit as the page shows it.
struct ShortcutRowData {
    int choice = 0;  ///< of the choices
    QString trigger; ///< what the desktop says to press for it, when that is its own choice
    QString warning; ///< why its combination does not show the group; empty when it does
    QString command; ///< to be bound to a key instead; empty where that is of no use

    bool operator==(const ShortcutRowData &) const = default;
};

/// The digits from 1 to 9 and the groups that their key combinations show. Main thread only.
class KeyboardShortcuts : public ListRows<ShortcutRowData> {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Settings.shortcuts is the one instance.")
    Q_PROPERTY(QStringList choices READ choices NOTIFY choicesChanged)
    Q_PROPERTY(QString notice READ notice NOTIFY noticeChanged)
public:
    enum Role { DigitRole = Qt::UserRole, ChoiceRole, TriggerRole, WarningRole, CommandRole };

    /// `hotkeys` is null where the key combinations are another process's. The references outlive the object.
    KeyboardShortcuts(ConfigManager &config, GlobalHotkeyManager *hotkeys, QObject *parent = nullptr);

    /// "None", and the groups in their order.
    const QStringList &choices() const { return m_choices; }
    /// What holds for all nine, such as why this desktop has none; empty when all is well.
    const QString &notice() const { return m_notice; }

    /// The choice's group is the digit's from now on, in every process.
    Q_INVOKABLE void assign(int digit, int choice);

    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

signals:
    void choicesChanged();
    void noticeChanged();

private:
    void update();

    ConfigManager &m_config;
    GlobalHotkeyManager *const m_hotkeys;
    QStringList m_choices;
    QString m_notice;
};

} // namespace cobblet
