#include "integration/TerminalText.h"

#include "model/GroupCoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace cobblet::terminal {

namespace {

bool isHarmful(QChar c)
{
    const char16_t u = c.unicode();
    const bool turnsText =
        u == 0x061c || u == 0x200e || u == 0x200f || (u >= 0x202a && u <= 0x202e) || (u >= 0x2066 && u <= 0x2069);
    const QChar::Category category = c.category();
    return turnsText || category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph;
}

QString outcomeText(const IntentOutcome &outcome)
{
    switch (outcome.kind) {
    case IntentOutcome::Kind::Launched:
        return QStringLiteral("launched");
    case IntentOutcome::Kind::BroughtForward:
        return QStringLiteral("brought forward");
    case IntentOutcome::Kind::Hidden:
        return QStringLiteral("hidden");
    case IntentOutcome::Kind::AskedToQuit:
        return QStringLiteral("asked to quit, and has ended");
    case IntentOutcome::Kind::StillRunning:
        return QStringLiteral("asked to quit, and still running after 5 seconds");
    case IntentOutcome::Kind::NotRunning:
        return QStringLiteral("not running");
    case IntentOutcome::Kind::NotInstalled:
        return QStringLiteral("not installed");
    case IntentOutcome::Kind::Failed:
        break;
    }
    return QStringLiteral("failed: ") + harmless(outcome.reason);
}

} // namespace

QString harmless(const QString &text)
{
    QString result = text;
    for (QChar &c : result)
        if (isHarmful(c))
            c = QChar::ReplacementCharacter;
    return result;
}

QString lines(const QList<GroupEntity> &groups)
{
    QString text;
    for (const GroupEntity &group : groups)
        text += uuidText(group.id) + QLatin1Char(' ') + harmless(group.emoji) + QLatin1Char(' ') +
                harmless(group.name) + QLatin1Char('\n');
    return text;
}

QString json(const QList<AppGroup> &groups)
{
    QJsonArray list;
    for (const AppGroup &group : groups) {
        QJsonArray apps;
        for (const AppItem &app : group.apps)
            apps.append(QJsonObject{{QStringLiteral("name"), app.name}, {QStringLiteral("bundleID"), app.bundleID}});
        list.append(QJsonObject{{QStringLiteral("id"), uuidText(group.id)},
                                {QStringLiteral("name"), group.name},
                                {QStringLiteral("emoji"), group.emoji},
                                {QStringLiteral("apps"), apps}});
    }
    // Inside strings what is left of them is legal as it is, but a terminal would act on it.
    QString text;
    for (const QChar c : QString::fromUtf8(QJsonDocument(list).toJson()))
        text += isHarmful(c) && c != QLatin1Char('\n')
                    ? QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'))
                    : QString(c);
    return text;
}

QString lines(const QList<IntentOutcome> &outcomes)
{
    QString text;
    for (const IntentOutcome &outcome : outcomes)
        text += harmless(outcome.name) + QStringLiteral(": ") + outcomeText(outcome) + QLatin1Char('\n');
    return text;
}

} // namespace cobblet::terminal
