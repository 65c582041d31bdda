#include "ui/common/EmojiSearch.h"

#include <QLocale>
#include <QTextBoundaryFinder>

#include <algorithm>
#include <array>

namespace cobblet {

namespace {

constexpr char32_t firstTone = 0x1F3FB;
constexpr char32_t lastTone = 0x1F3FF;
constexpr int mostWords = 8;
constexpr qsizetype longestEmoji = 32; // of UTF-16
constexpr int wholeName = 100;         // more than all words together can score

/// The languages of the tables that speak for this one, the nearest first.
QStringList tableNames(const QString &language)
{
    const QLocale locale(language);
    if (locale.language() == QLocale::C)
        return {};
    const QString code = QLocale::languageToCode(locale.language());
    return {code + QLatin1Char('_') + QLocale::scriptToCode(locale.script()),
            code + QLatin1Char('_') + QLocale::territoryToCode(locale.territory()), code};
}

std::optional<EmojiTable> readTable(const QString &folder, const QString &name)
{
    return EmojiTable::read(QStringLiteral("%1/%2.emoji").arg(folder, name));
}

/// The emoji without what only changes how it looks.
QString bare(const QString &emoji)
{
    QString made;
    for (const char32_t c : emoji.toUcs4())
        if (c != 0xfe0f && (c < firstTone || c > lastTone || made.isEmpty()))
            made += QChar::fromUcs4(c);
    return made;
}

/// The first skin tone after the start, 1 to 5; 0 for none.
int toneOf(const QString &emoji)
{
    const QList<uint> characters = emoji.toUcs4();
    const auto tone = std::find_if(characters.begin() + qsizetype(!characters.isEmpty()), characters.end(),
                                   [](char32_t c) { return c >= firstTone && c <= lastTone; });
    return tone == characters.end() ? 0 : int(*tone - firstTone) + 1;
}

/// Whether a flag begins with it that is spelled with two such letters.
bool isFlag(char32_t c)
{
    return c >= 0x1F1E6 && c <= 0x1F1FF;
}

bool isOneGrapheme(const QString &text)
{
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    return finder.toNextBoundary() == text.size();
}

} // namespace

EmojiSearch::EmojiSearch(const QString &folder, const QStringList &languages, CanDraw canDraw)
    : m_canDraw(std::move(canDraw)), m_english(readTable(folder, QStringLiteral("en")))
{
    if (!m_english)
        return;
    m_drawn.resize(size_t(m_english->count()));
    m_numbers.reserve(m_english->count());
    for (int i = 0; i < m_english->count(); ++i)
        m_numbers.insert(bare(m_english->emoji(i)), i);
    for (const QString &language : languages)
        for (const QString &name : tableNames(language)) {
            if (name == QLatin1String("en"))
                return;
            auto table = readTable(folder, name);
            if (table && table->listSum() == m_english->listSum() && table->count() == m_english->count()) {
                m_own = std::move(table);
                return;
            }
        }
}

QStringList EmojiSearch::find(const QString &text)
{
    if (const auto pasted = single(text))
        return {*pasted};
    const QList<QByteArray> words = emojiSearchWords(text, mostWords);
    if (!m_english || words.isEmpty())
        return {};
    const auto count = size_t(m_english->count());
    std::vector<int> scores(count);
    // In which of the two languages every word so far is a whole word of the name.
    std::array<std::vector<bool>, 2> whole{std::vector<bool>(count, true), std::vector<bool>(count, true)};
    const std::array<const EmojiTable *, 2> tables{&*m_english, m_own ? &*m_own : nullptr};
    for (qsizetype w = 0; w < words.size(); ++w) {
        std::vector<EmojiFit> best(count, EmojiFit::None);
        for (size_t t = 0; t < tables.size() && tables[t]; ++t) {
            std::vector<bool> isName(count);
            tables[t]->match(words[w], [&](int number, EmojiFit fit) {
                best[size_t(number)] = std::max(best[size_t(number)], fit);
                if (fit >= EmojiFit::NameWord)
                    isName[size_t(number)] = true;
            });
            for (size_t i = 0; i < count; ++i)
                whole[t][i] = whole[t][i] && isName[i];
        }
        for (size_t i = 0; i < count; ++i)
            scores[i] = best[i] == EmojiFit::None || scores[i] < 0 ? -1 : scores[i] + int(best[i]);
    }

    std::vector<std::pair<int, int>> found; // score and number
    for (int i = 0; i < int(count); ++i) {
        if (scores[size_t(i)] <= 0 || !isDrawn(i))
            continue;
        const bool isWhole = [&] {
            for (size_t t = 0; t < tables.size() && tables[t]; ++t)
                if (whole[t][size_t(i)] && tables[t]->nameWords(i) == int(words.size()))
                    return true;
            return false;
        }();
        found.emplace_back(scores[size_t(i)] + (isWhole ? wholeName : 0), i);
    }
    std::stable_sort(found.begin(), found.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
    QStringList emoji;
    emoji.reserve(qsizetype(found.size()));
    for (const auto &[score, number] : found)
        emoji.append(m_english->emoji(number));
    return emoji;
}

std::optional<QString> EmojiSearch::single(const QString &text) const
{
    const QString emoji = text.left(2 * longestEmoji).trimmed();
    if (emoji.isEmpty() || emoji.size() > longestEmoji || !isOneGrapheme(emoji))
        return {};
    const int known = number(emoji);
    const QList<uint> characters = emoji.toUcs4();
    // An emoji newer than the tables counts, but not the picture of a flag that nobody has.
    const bool isPicture = known >= 0 || (!isFlag(characters.front()) &&
                                          std::any_of(characters.begin(), characters.end(), [](char32_t c) {
                                              return QChar::category(c) == QChar::Symbol_Other || c == 0x20e3;
                                          }));
    if (!isPicture || !m_canDraw(emoji))
        return {};
    return known >= 0 && toneOf(emoji) == 0 ? m_english->emoji(known) : emoji;
}

QString EmojiSearch::name(const QString &emoji) const
{
    const int known = number(emoji);
    const QString plain = known >= 0 ? plainName(known) : QString();
    const int tone = toneOf(emoji);
    const char32_t swatch = firstTone + char32_t(tone) - 1;
    return plain.isEmpty() || tone == 0
               ? plain
               : QStringLiteral("%1: %2").arg(plain, plainName(number(QString::fromUcs4(&swatch, 1))));
}

QString EmojiSearch::inTone(const QString &emoji, int tone) const
{
    if (!hasTones(emoji))
        return emoji;
    const int known = number(emoji);
    if (tone < 1 || tone > 5)
        return m_english->emoji(known);
    const char32_t wanted = firstTone + char32_t(tone) - 1;
    return m_english->toned(known).replace(QString::fromUcs4(&firstTone, 1), QString::fromUcs4(&wanted, 1));
}

bool EmojiSearch::hasTones(const QString &emoji) const
{
    const int known = number(emoji);
    return known >= 0 && !m_english->toned(known).isEmpty();
}

int EmojiSearch::number(const QString &emoji) const
{
    return m_numbers.value(bare(emoji), -1);
}

QString EmojiSearch::plainName(int number) const
{
    if (number < 0)
        return {};
    const QString own = m_own ? m_own->name(number) : QString();
    return own.isEmpty() ? m_english->name(number) : own;
}

bool EmojiSearch::isDrawn(int number)
{
    Drawn &drawn = m_drawn[size_t(number)];
    if (drawn == Drawn::Unknown)
        drawn = m_canDraw(m_english->emoji(number)) ? Drawn::Yes : Drawn::No;
    return drawn == Drawn::Yes;
}

} // namespace cobblet
