#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace cobblet {

/// How well a word that is looked for fits an emoji; the better the higher.
enum class EmojiFit : quint8 {
    None,
    KeywordStart,
    NameWordStart, ///< a word of the name begins with it
    Keyword,
    NameStart, ///< the first word of the name begins with it
    NameWord,  ///< it is a word of the name
    FirstNameWord
};

/// The names and search words of every emoji in one language, as scripts/emoji_tables.py writes them: the size as 4
/// bytes and a zlib stream of little-endian numbers and UTF-8,
///     6 x u32   magic, sum of the list, emoji, words, postings, bytes of text
///     u8 each   lengths: of the emoji, of them in the first skin tone (0: has none), of the names, of the words
///     u8 each   how many words the names have
///     u16 each  how many postings the words have
///     u16 each  postings: what the word is to an emoji (2 bits from bit 12), and the emoji's number less the one
///     before text      all that have a length, one after the other; the words folded and in the order of their bytes
/// Only English has the emoji themselves; the others are told apart from another version's by the sum of the list.
class EmojiTable {
public:
    /// Absent when the file is missing, too large, cut off, or no such table.
    static std::optional<EmojiTable> read(const QString &path);

    int count() const { return m_count; }
    quint32 listSum() const { return m_listSum; }
    QString emoji(int number) const { return string(number); }
    /// The same in the first skin tone (U+1F3FB); empty when it has no tones.
    QString toned(int number) const { return string(m_count + number); }
    /// Empty when the language has no name for it.
    QString name(int number) const { return string(2 * m_count + number); }
    int nameWords(int number) const { return m_nameWords[size_t(number)]; }

    /// Calls with each emoji that has a word which begins with this folded one; an emoji may come several times.
    void match(const QByteArray &word, const std::function<void(int number, EmojiFit fit)> &found) const;

private:
    bool parse();
    std::string_view text(int index) const;
    QString string(int index) const;

    QByteArray m_data;
    int m_count = 0;
    int m_words = 0;
    quint32 m_listSum = 0;
    std::vector<quint32> m_starts; ///< of every text in m_data, and the end of the last
    std::vector<quint8> m_nameWords;
    std::vector<quint32> m_firstPosting; ///< of every word, and the end of the last
    std::vector<quint16> m_postings;     ///< kind and number
};

/// The words of a text as they are looked for: without case, diacritics and punctuation, at most `most` of them.
QList<QByteArray> emojiSearchWords(const QString &text, int most);

} // namespace cobblet
