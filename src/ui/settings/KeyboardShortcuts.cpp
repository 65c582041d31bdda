#include "ui/settings/KeyboardShortcuts.h"

#include "integration/GroupQuery.h"
#include "model/ConfigManager.h"
#include "shell/GlobalHotkeyManager.h"
#include "ui/common/DisplayText.h"

#include <QRegularExpression>

#include <algorithm>

namespace cobblet {

namespace {

constexpr int digits = 9;

/// The command that shows the group: by its name, where that is plain and nobody else's, else by its id.
QString commandFor(const AppGroup &group, const ConfigManager &config)
{
    static const QRegularExpression plain(QStringLiteral("\\A\\w{1,60}(?: \\w{1,60}){0,9}\\z"),
                                          QRegularExpression::UseUnicodePropertiesOption);
    const auto found = GroupQuery(config).resolve(group.name);
    if (!found || found.value().id != group.id || !plain.match(group.name).hasMatch())
        return QStringLiteral("cobblet show ") + group.id.toString(QUuid::WithoutBraces);
    return QStringLiteral("cobblet show \"%1\"").arg(group.name);
}

} // namespace

KeyboardShortcuts::KeyboardShortcuts(ConfigManager &config, GlobalHotkeyManager *hotkeys, QObject *parent)
    : ListRows(parent), m_config(config), m_hotkeys(hotkeys)
{
    connect(&m_config, &ConfigManager::groupsChanged, this, &KeyboardShortcuts::update);
    connect(&m_config, &ConfigManager::groupShortcutsChanged, this, &KeyboardShortcuts::update);
    if (m_hotkeys) {
        connect(m_hotkeys, &GlobalHotkeyManager::conflictedDigitsChanged, this, &KeyboardShortcuts::update);
        connect(m_hotkeys, &GlobalHotkeyManager::changed, this, &KeyboardShortcuts::update);
    }
    update();
}

void KeyboardShortcuts::assign(int digit, int choice)
{
    if (choice >= 0 && choice <= m_config.groups().size())
        m_config.setShortcut(digit, choice == 0 ? QUuid() : m_config.groups()[choice - 1].id);
}

void KeyboardShortcuts::update()
{
    QStringList choices{QStringLiteral("None")};
    for (const AppGroup &group : m_config.groups())
        choices.append(displayText(group.name));
    if (m_choices != choices) {
        m_choices = choices;
        emit choicesChanged();
    }

    const Availability availability = m_hotkeys ? m_hotkeys->availability() : Availability();
    const bool bindsCommands = availability.level == Availability::Level::Not;
    QList<ShortcutRowData> rows(digits);
    for (int digit = 1; digit <= digits; ++digit) {
        ShortcutRowData &row = rows[digit - 1];
        const auto &groups = m_config.groups();
        const auto group = std::ranges::find(groups, m_config.groupShortcuts().value(digit), &AppGroup::id);
        if (group != groups.end()) {
            row.choice = int(group - groups.begin()) + 1;
            if (bindsCommands)
                row.command = commandFor(*group, m_config);
        }
        if (m_hotkeys) {
            row.trigger = displayText(m_hotkeys->trigger(digit));
            row.warning = m_hotkeys->conflict(digit);
        }
    }
    setRows(std::move(rows));

    const QString notice = !m_hotkeys      ? QStringLiteral("The key combinations work while Cobblet itself runs.")
                           : bindsCommands ? availability.sentence
                                           : QString();
    if (m_notice != notice) {
        m_notice = notice;
        emit noticeChanged();
    }
}

QVariant KeyboardShortcuts::data(const QModelIndex &index, int role) const
{
    if (!isRow(index))
        return {};
    const ShortcutRowData &row = rows()[index.row()];
    switch (role) {
    case DigitRole:
        return index.row() + 1;
    case ChoiceRole:
        return row.choice;
    case TriggerRole:
        return row.trigger;
    case WarningRole:
        return row.warning;
    case CommandRole:
        return row.command;
    default:
        return {};
    }
}

QHash<int, QByteArray> KeyboardShortcuts::roleNames() const
{
    return {{DigitRole, "digit"},
            {ChoiceRole, "choice"},
            {TriggerRole, "trigger"},
            {WarningRole, "warning"},
            {CommandRole, "command"}};
}

} // namespace cobblet
