#include "integration/TerminalText.h"

#include "model/GroupCoding.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>

namespace cobblet::terminal {

namespace {

/// A longer name does not push the ids of all the others to the right.
constexpr int widestColumn = 40;

bool isHarmful(QChar c)
{
    const char16_t u = c.unicode();
    const bool turnsText =
        u == 0x061c || u == 0x200e || u == 0x200f || (u >= 0x202a && u <= 0x202e) || (u >= 0x2066 && u <= 0x2069);
    const QChar::Category category = c.category();
    return turnsText || category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph;
}

/// Whether a terminal gives the character two cells: East Asian scripts and what is drawn as emoji by itself.
bool isWide(char32_t c)
{
    struct Range {
        char32_t first, last;
    };
    static constexpr std::array ranges{
        Range{0x1100, 0x115f},   Range{0x231a, 0x231b},   Range{0x23e9, 0x23ec},  Range{0x25fd, 0x25fe},
        Range{0x2614, 0x2615},   Range{0x2648, 0x2653},   Range{0x26a1, 0x26a1},  Range{0x26aa, 0x26ab},
        Range{0x26bd, 0x26be},   Range{0x26c4, 0x26c5},   Range{0x26d4, 0x26d4},  Range{0x26ea, 0x26ea},
        Range{0x26f2, 0x26f5},   Range{0x2705, 0x2705},   Range{0x270a, 0x270b},  Range{0x2728, 0x2728},
        Range{0x274c, 0x274e},   Range{0x2753, 0x2757},   Range{0x2795, 0x2797},  Range{0x2b1b, 0x2b1c},
        Range{0x2b50, 0x2b55},   Range{0x2e80, 0x303e},   Range{0x3041, 0xa4cf},  Range{0xac00, 0xd7a3},
        Range{0xf900, 0xfaff},   Range{0xfe30, 0xfe6f},   Range{0xff00, 0xff60},  Range{0xffe0, 0xffe6},
        Range{0x1f1e6, 0x1f1ff}, Range{0x1f300, 0x1faff}, Range{0x20000, 0x3fffd}};
    return std::any_of(ranges.begin(), ranges.end(),
                       [c](const Range &range) { return c >= range.first && c <= range.last; });
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

int width(const QString &text)
{
    constexpr char32_t emojiStyle = 0xfe0f;
    int cells = 0;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype start = 0; finder.toNextBoundary() >= 0; start = finder.position()) {
        const auto character = QStringView(text).sliced(start, finder.position() - start).toUcs4();
        if (!character.isEmpty())
            cells += isWide(character.first()) || character.contains(emojiStyle) ? 2 : 1;
    }
    return cells;
}

QString table(const QList<IntentGroup> &groups)
{
    QList<std::array<QString, 2>> cells;
    std::array<int, 2> widest{};
    for (const IntentGroup &group : groups) {
        cells.append({harmless(group.emoji), harmless(group.name)});
        for (size_t column = 0; column < widest.size(); ++column)
            widest[column] = std::max(widest[column], std::min(width(cells.last()[column]), widestColumn));
    }
    QString text;
    for (qsizetype row = 0; row < groups.size(); ++row) {
        for (size_t column = 0; column < widest.size(); ++column) {
            const QString &cell = cells[row][column];
            text += cell + QString(std::max(0, widest[column] - width(cell)) + 2, QLatin1Char(' '));
        }
        text += groups[row].id + QLatin1Char('\n');
    }
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
