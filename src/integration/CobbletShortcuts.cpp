#include "integration/CobbletShortcuts.h"

#include <algorithm>

namespace cobblet {

namespace {

using Verb = IntentRequests::Verb;

const std::array<QLatin1String, 3> closingWords{QLatin1String("group"), QLatin1String("in"),
                                                AppShortcut::applicationName};

QStringView firstWord(QStringView text)
{
    const auto space = std::find_if(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
    return text.first(space - text.begin());
}

/// Takes `word` and the white space after it from the front; false when the text begins with another word.
bool takeFirst(QStringView &text, QStringView word)
{
    const QStringView first = firstWord(text);
    if (first.compare(word, Qt::CaseInsensitive) != 0)
        return false;
    text = text.sliced(first.size()).trimmed();
    return true;
}

/// The same at the end, where something must stand before it.
bool takeLast(QStringView &text, QLatin1String word)
{
    if (text.size() <= word.size() || !text.endsWith(word, Qt::CaseInsensitive) ||
        !text[text.size() - word.size() - 1].isSpace())
        return false;
    text = text.chopped(word.size()).trimmed();
    return true;
}

/// Takes what a phrase begins with; absent when the text begins with none of the openings.
std::optional<Verb> takeOpening(QStringView &text)
{
    for (const AppShortcut &shortcut : CobbletShortcuts::appShortcuts()) {
        for (const QLatin1String opening : shortcut.openings) {
            QStringView rest = text;
            const QStringList words = QString(opening).split(QLatin1Char(' '));
            if (std::all_of(words.begin(), words.end(), [&](const QString &word) { return takeFirst(rest, word); })) {
                text = rest;
                return shortcut.verb;
            }
        }
    }
    return std::nullopt;
}

void dropFullStop(QStringView &text)
{
    if (text.endsWith(QLatin1Char('.')))
        text = text.chopped(1).trimmed();
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
        {{Verb::Launch, {L1("Launch"), L1("Start"), L1("Fire up")}, L1("Launch Group"), L1("arrow.up.forward.app")},
         {Verb::Quit, {L1("Stop"), L1("End"), L1("Wind down")}, L1("Quit Group"), L1("xmark.circle")},
         {Verb::Show, {L1("Show"), L1("Bring up"), L1("Go to")}, L1("Show Group"), L1("dock.rectangle")}}};
    return shortcuts;
}

std::optional<CobbletShortcuts::Request> CobbletShortcuts::understood(const QString &text)
{
    const auto request = begun(text);
    if (!request)
        return std::nullopt;
    QStringView rest(request->group);
    if (!std::all_of(closingWords.rbegin(), closingWords.rend(),
                     [&](QLatin1String word) { return takeLast(rest, word); }))
        return std::nullopt;
    return Request{request->verb, rest.toString()};
}

std::optional<CobbletShortcuts::Request> CobbletShortcuts::begun(const QString &text)
{
    if (text.size() > maximumPhrase)
        return std::nullopt;
    QStringView rest = QStringView(text).trimmed();
    const auto verb = takeOpening(rest);
    dropFullStop(rest);
    if (!verb || rest.isEmpty())
        return std::nullopt;
    return Request{*verb, rest.toString()};
}

} // namespace cobblet
