#include "ui/settings/SettingsSearch.h"

#include "ui/common/DisplayText.h"
#include "ui/settings/SettingsCatalogue.h"

#include <algorithm>

namespace cobblet {

namespace {

using namespace Qt::StringLiterals;

/// Longer queries and texts are cut: what somebody types is short, names from outside may be anything.
constexpr qsizetype longestQuery = 100;

/// Without case and accents.
QString folded(const QString &text)
{
    QString plain;
    for (const QChar c : text.normalized(QString::NormalizationForm_KD))
        if (c.category() != QChar::Mark_NonSpacing)
            plain.append(c);
    return plain.toCaseFolded();
}

/// How well a text has a word, from 0: it begins a word, or is in one; absent when the text has it nowhere.
std::optional<int> match(const QString &text, const QString &word)
{
    std::optional<int> best;
    for (qsizetype at = text.indexOf(word); at >= 0; at = text.indexOf(word, at + 1)) {
        if (at == 0 || !text[at - 1].isLetterOrNumber())
            return 0;
        best = 1;
    }
    return best;
}

} // namespace

SearchIndex::SearchIndex(const QList<AppGroup> &groups)
{
    m_entries.reserve(groups.size() + settingsPages().size() + settingEntries().size());
    for (const AppGroup &group : groups) {
        QStringList names;
        for (const AppItem &app : group.apps)
            names.append(displayText(app.name));
        add({.item = SettingsSidebarItem::group(group.id),
             .title = displayText(group.name),
             .emoji = displayText(group.emoji)},
            names, true);
    }
    for (const SettingsPageEntry &page : settingsPages())
        add({.item = {page.kind}, .title = page.title, .symbol = page.symbol}, {});
    for (const SettingEntry &setting : settingEntries()) {
        const auto page = std::ranges::find(settingsPages(), setting.page, &SettingsPageEntry::kind);
        if (page != settingsPages().end())
            add({.item = {setting.page},
                 .setting = setting.id,
                 .title = setting.label,
                 .place = page->title,
                 .symbol = page->symbol},
                {setting.help, page->title});
    }
}

void SearchIndex::add(const SearchHit &hit, const QStringList &more, bool showsMore)
{
    m_entries.append({hit, folded(hit.title), folded(more.join(u'\n')), showsMore ? more : QStringList()});
}

QList<SearchHit> SearchIndex::find(const QString &query, qsizetype most) const
{
    const QStringList words = folded(query.left(longestQuery)).simplified().split(u' ', Qt::SkipEmptyParts);
    if (words.isEmpty())
        return {};
    struct Found {
        int rank;
        const Entry *entry;
    };
    QList<Found> found;
    for (const Entry &entry : m_entries) {
        int rank = 0;
        const bool hasAll = std::ranges::all_of(words, [&](const QString &word) {
            const auto inTitle = match(entry.title, word);
            const auto inMore = inTitle ? std::nullopt : match(entry.more, word);
            rank += inTitle ? *inTitle : 2 + inMore.value_or(0);
            return inTitle || inMore;
        });
        if (hasAll) // a title that begins with the query comes before all others
            found.append({entry.title.startsWith(words.first()) ? rank * 2 : rank * 2 + 1, &entry});
    }
    std::ranges::stable_sort(found, {}, &Found::rank);
    QList<SearchHit> hits;
    for (const Found &one : found.first(std::min(most, found.size()))) {
        hits.append(one.entry->hit);
        // The application that has the words, where the name of the group has not.
        for (const QString &line : one.entry->moreAsShown) {
            const QString plain = folded(line);
            const bool leadsHere = std::ranges::any_of(
                words, [&](const QString &word) { return plain.contains(word) && !one.entry->title.contains(word); });
            if (leadsHere) {
                hits.last().place = line;
                break;
            }
        }
    }
    return hits;
}

} // namespace cobblet
