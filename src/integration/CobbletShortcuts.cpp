#include "integration/CobbletShortcuts.h"

#include <QRegularExpression>

namespace cobblet {

namespace {

/// What a text asks for that begins as a phrase does, names a group and goes on with `ending`, a pattern.
std::optional<GroupRequest> requestIn(const QString &text, QLatin1String ending)
{
    if (text.size() > CobbletShortcuts::maximumPhrase)
        return std::nullopt;
    for (const AppShortcut &shortcut : CobbletShortcuts::appShortcuts()) {
        QStringList openings;
        for (const QLatin1String opening : shortcut.openings)
            openings.append(QString(opening).replace(QLatin1Char(' '), QStringLiteral("\\s+")));
        const QRegularExpression phrase(
            QStringLiteral("\\A\\s*(?:%1)\\s+(\\S.*?)%2\\s*\\.?\\s*\\z").arg(openings.join(QLatin1Char('|')), ending),
            QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption |
                QRegularExpression::UseUnicodePropertiesOption);
        if (const auto match = phrase.match(text); match.hasMatch())
            return GroupRequest{shortcut.intent.verb, match.captured(1)};
    }
    return std::nullopt;
}

} // namespace

QString AppShortcut::closing()
{
    return QStringLiteral(" group in ") + applicationName;
}

QStringList AppShortcut::phrases(const QString &group) const
{
    QStringList list;
    for (const QLatin1String opening : openings)
        list.append(opening + QLatin1Char(' ') + group + closing());
    return list;
}

const std::array<AppShortcut, 3> &CobbletShortcuts::appShortcuts()
{
    using L1 = QLatin1String;
    static const std::array<AppShortcut, 3> shortcuts{
        {{LaunchGroupIntent,
          {L1("Launch"), L1("Start"), L1("Fire up")},
          L1("Launch Group"),
          L1("arrow.up.forward.app")},
         {QuitGroupIntent, {L1("Stop"), L1("End"), L1("Wind down")}, L1("Quit Group"), L1("xmark.circle")},
         {ShowGroupIntent, {L1("Show"), L1("Bring up"), L1("Go to")}, L1("Show Group"), L1("dock.rectangle")}}};
    return shortcuts;
}

std::optional<GroupRequest> CobbletShortcuts::understood(const QString &text)
{
    return requestIn(text, QLatin1String("\\s+group\\s+in\\s+Cobblet"));
}

std::optional<GroupRequest> CobbletShortcuts::begun(const QString &text)
{
    return requestIn(text, QLatin1String());
}

} // namespace cobblet
