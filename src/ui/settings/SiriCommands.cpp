#include "ui/settings/SiriCommands.h"

#include "integration/CobbletShortcuts.h"
#include "platform/Workspace.h"

#include <QColor>
#include <QPointer>

namespace cobblet {

namespace {

const QString shortcutsAddress = QStringLiteral("shortcuts://");
const QString placeholder = QStringLiteral("Group");

QColor tintOf(IntentVerb verb)
{
    switch (verb) {
    case IntentVerb::Launch:
        return {40, 168, 82};
    case IntentVerb::Quit:
        return {224, 72, 60};
    default:
        return {32, 124, 229};
    }
}

} // namespace

SiriCommands::SiriCommands(Workspace &workspace, QObject *parent) : QObject(parent), m_workspace(workspace)
{
    connect(&m_workspace, &Workspace::installedApplicationsChanged, this, &SiriCommands::opensShortcutsChanged);
}

QVariantList SiriCommands::commands()
{
    QVariantList list;
    for (const AppShortcut &shortcut : CobbletShortcuts::appShortcuts())
        list.append(
            QVariantMap{{QStringLiteral("title"), QString(shortcut.shortTitle)},
                        {QStringLiteral("icon"), QString(shortcut.symbol)},
                        {QStringLiteral("tint"), tintOf(shortcut.intent.verb)},
                        {QStringLiteral("detail"), QString(shortcut.intent.description)},
                        {QStringLiteral("verbs"), QStringList(shortcut.openings.begin(), shortcut.openings.end())}});
    return list;
}

QString SiriCommands::example()
{
    return QStringLiteral("cobblet say \"%1\"")
        .arg(CobbletShortcuts::appShortcuts().front().phrases(QStringLiteral("Work")).first());
}

QString SiriCommands::phrase(const QString &verb)
{
    return verb + QLatin1Char(' ') + placeholder + AppShortcut::closing();
}

bool SiriCommands::opensShortcuts() const
{
    return m_workspace.opensUrl(shortcutsAddress);
}

void SiriCommands::openShortcuts()
{
    m_workspace.openUrl(shortcutsAddress, [self = QPointer(this)](const Status &opened) {
        const QString failure = opened ? QString() : opened.error();
        if (!self || failure == self->m_failure)
            return;
        self->m_failure = failure;
        emit self->failureChanged();
    });
}

} // namespace cobblet
