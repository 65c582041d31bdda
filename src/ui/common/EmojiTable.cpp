#include "ui/common/EmojiTable.h"

#include <QFile>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <numeric>

namespace cobblet {

namespace {

constexpr quint32 magic = 0x6D654243;
constexpr qint64 largestFile = 128 * 1024;
constexpr quint32 largestTable = 250 * 1024;
constexpr int headerSize = 6 * 4;
constexpr int kindShift = 12;
constexpr int numberMask = (1 << kindShift) - 1;

/// Takes numbers from the front of a table; it is bad from the moment that one is missing.
class Reader {
public:
    explicit Reader(const QByteArray &data) : m_data(data) {}

    template<class Number>
    std::vector<Number> take(size_t count)
    {
        std::vector<Number> numbers;
        if (!ok || count > size_t(m_data.size() - m_at) / sizeof(Number)) {
            ok = false;
            return numbers;
        }
        numbers.resize(count);
        for (Number &number : numbers) {
            number = qFromLittleEndian<Number>(m_data.constData() + m_at);
            m_at += qsizetype(sizeof(Number));
        }
        return numbers;
    }
    qsizetype at() const { return m_at; }

    bool ok = true;

private:
    const QByteArray &m_data;
    qsizetype m_at = 0;
};

bool isDiacritic(char32_t c)
{
    // Below come the signs that make another letter of one: voiced kana, viramas.
    return QChar::category(c) == QChar::Mark_NonSpacing && QChar::combiningClass(c) >= 10;
}

/// Letters that look as if they had a diacritic, but are not composed of one.
char32_t plain(char32_t c)
{
    switch (c) {
    case U'ł':
        return U'l';
    case U'ø':
        return U'o';
    case U'đ':
        return U'd';
    case U'ı':
        return U'i';
    default:
        return c;
    }
}

EmojiFit fit(int kind, bool whole)
{
    constexpr std::array starts{EmojiFit::KeywordStart, EmojiFit::NameWordStart, EmojiFit::NameStart};
    constexpr std::array words{EmojiFit::Keyword, EmojiFit::NameWord, EmojiFit::FirstNameWord};
    return (whole ? words : starts)[size_t(kind)];
}

} // namespace

QList<QByteArray> emojiSearchWords(const QString &text, int most)
{
    constexpr qsizetype longest = 100;
    QList<QByteArray> words;
    QString word;
    const auto finish = [&] {
        if (!word.isEmpty() && words.size() < most)
            words.append(word.toUtf8());
        word.clear();
    };
    for (char32_t c : text.left(longest).normalized(QString::NormalizationForm_KD).toCaseFolded().toUcs4()) {
        c = plain(c);
        if (isDiacritic(c))
            continue;
        if (QChar::isLetterOrNumber(c) || QChar::isMark(c))
            word += QChar::fromUcs4(c);
        else
            finish();
    }
    finish();
    return words;
}

std::optional<EmojiTable> EmojiTable::read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() > largestFile)
        return {};
    const QByteArray packed = file.read(largestFile);
    if (packed.size() < 4 || qFromBigEndian<quint32>(packed.constData()) > largestTable)
        return {};
    EmojiTable table;
    table.m_data = qUncompress(packed);
    if (table.m_data.size() > qsizetype(largestTable) || !table.parse())
        return {};
    return table;
}

bool EmojiTable::parse()
{
    Reader reader(m_data);
    const auto header = reader.take<quint32>(6);
    if (!reader.ok || header[0] != magic || header[2] > numberMask || header[3] > quint32(m_data.size()) ||
        header[4] > quint32(m_data.size()))
        return false;
    m_listSum = header[1];
    m_count = int(header[2]);
    m_words = int(header[3]);
    const auto lengths = reader.take<quint8>(3 * size_t(m_count) + size_t(m_words));
    m_nameWords = reader.take<quint8>(size_t(m_count));
    const auto counts = reader.take<quint16>(size_t(m_words));
    m_postings = reader.take<quint16>(header[4]);
    if (!reader.ok || std::accumulate(counts.begin(), counts.end(), size_t(0)) != m_postings.size())
        return false;

    m_firstPosting.reserve(counts.size() + 1);
    m_firstPosting.push_back(0);
    for (const quint16 count : counts) {
        const size_t first = m_firstPosting.back();
        int number = 0;
        for (size_t i = first; i < first + count; ++i) {
            const int kind = m_postings[i] >> kindShift;
            number += m_postings[i] & numberMask;
            if (kind > 2 || number >= m_count)
                return false;
            m_postings[i] = quint16(kind << kindShift | number);
        }
        m_firstPosting.push_back(quint32(first + count));
    }

    m_starts.reserve(lengths.size() + 1);
    m_starts.push_back(quint32(reader.at()));
    for (const quint8 length : lengths)
        m_starts.push_back(m_starts.back() + length);
    return m_starts.back() == quint32(m_data.size()) && header[5] == m_starts.back() - m_starts.front();
}

std::string_view EmojiTable::text(int index) const
{
    const quint32 start = m_starts[size_t(index)];
    return {m_data.constData() + start, m_starts[size_t(index) + 1] - start};
}

QString EmojiTable::string(int index) const
{
    const std::string_view utf8 = text(index);
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

void EmojiTable::match(const QByteArray &word, const std::function<void(int, EmojiFit)> &found) const
{
    const std::string_view wanted(word.constData(), size_t(word.size()));
    int low = 0;
    for (int high = m_words; low < high;) {
        const int middle = (low + high) / 2;
        if (text(3 * m_count + middle) < wanted)
            low = middle + 1;
        else
            high = middle;
    }
    for (; low < m_words; ++low) {
        const std::string_view known = text(3 * m_count + low);
        if (!known.starts_with(wanted))
            return;
        for (size_t i = m_firstPosting[size_t(low)]; i < m_firstPosting[size_t(low) + 1]; ++i)
            found(m_postings[i] & numberMask, fit(m_postings[i] >> kindShift, known.size() == wanted.size()));
    }
}

} // namespace cobblet
