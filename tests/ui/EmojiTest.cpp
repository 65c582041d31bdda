#include "ui/common/EmojiFont.h"
#include "ui/common/EmojiSearch.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <random>

namespace cobblet {
namespace {

using namespace Qt::StringLiterals;

const QString tables = QStringLiteral(COBBLET_EMOJI_TABLES);

bool drawsAll(const QString &)
{
    return true;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

TEST(EmojiSearch, FindsTheBestFirstInTheOwnLanguageAndInEnglish)
{
    const struct {
        const char *languages, *typed;
        QStringList first; ///< what has to come first, in this order
    } cases[] = {
        {"C", "rocket", {u"🚀"_s}},
        {"C", "  ROCK  ", {u"🪨"_s, u"🚀"_s}}, // a whole name before one that begins with it
        {"C", "dog", {u"🐕"_s, u"🐶"_s}},
        {"C", "red heart", {u"❤️"_s}},
        {"C", "heart red", {u"❤️"_s}},
        {"C", "flag germ", {u"🇩🇪"_s}},
        {"C", "scotland", {u"🏴󠁧󠁢󠁳󠁣󠁴󠁿"_s}},
        {"C", "keycap 5", {u"5️⃣"_s}},
        {"C", "family man woman girl", {u"👨‍👩‍👧"_s}},
        {"C", "cartwheel", {u"🤸"_s}},
        {"C", "pinata", {u"🪅"_s}},
        {"C", "goose", {u"🪿"_s}}, // of Unicode 15
        {"de-AT", "rakete", {u"🚀"_s}},
        {"de-AT", "rocket", {u"🚀"_s}},
        {"de-AT", "schluss", {u"🔑"_s}},
        {"xx,fr-CA", "fusée", {u"🚀"_s}},
        {"fr", "fusee", {u"🚀"_s}},
        {"ru", "ЕЛКА", {u"🌲"_s}},
        {"pl", "lodz", {u"🛶"_s}},
        {"zh-CN", "火箭", {u"🚀"_s}},
        {"zh-CN", "笑脸", {u"🥲"_s}}, // from within the name: there are no spaces
        {"zh-TW", "火箭", {u"🚀"_s}},
        {"ja", "ロケット", {u"🚀"_s}},
        {"ko", "로켓", {u"🚀"_s}},
    };
    for (const auto &[languages, typed, first] : cases) {
        EmojiSearch search(tables, QString::fromLatin1(languages).split(u','), drawsAll);
        const QStringList found = search.find(QString::fromUtf8(typed));
        EXPECT_EQ(found.mid(0, first.size()).join(u' ').toStdString(), first.join(u' ').toStdString())
            << typed << " in " << languages << ": " << found.mid(0, 8).join(u' ').toStdString();
    }
    EmojiSearch english(tables, {u"en-GB"_s}, drawsAll);
    for (const char *typed : {"", " ", "-", "zzzz", "rocket zzzz"})
        EXPECT_EQ(english.find(QString::fromUtf8(typed)), QStringList()) << typed;
    EXPECT_TRUE(english.find(u"teach wom"_s).contains(u"👩‍🏫"_s)) << "name and keyword together";
    EXPECT_EQ(english.find(QString(100'000, u'a')), QStringList());
}

TEST(EmojiSearch, TellsNamesAndTones)
{
    const EmojiSearch search(tables, {u"de"_s}, drawsAll);
    EXPECT_EQ(search.name(u"🚀"_s), u"Rakete"_s);
    EXPECT_EQ(search.name(u"❤"_s), u"rotes Herz"_s) << "with and without the variation selector";
    EXPECT_EQ(search.name(u"👋🏽"_s), u"winkende Hand: mittlere Hautfarbe"_s);
    EXPECT_EQ(search.name(u"🪿"_s), u"goose"_s) << "in English where the language has no name yet";
    EXPECT_EQ(search.name(u"abc"_s), QString());
    EXPECT_EQ(search.inTone(u"👋"_s, 5), u"👋🏿"_s);
    EXPECT_EQ(search.inTone(u"👋🏿"_s, 1), u"👋🏻"_s);
    EXPECT_EQ(search.inTone(u"🏋🏿"_s, 0), u"🏋️"_s);
    EXPECT_EQ(search.inTone(u"🧑‍🤝‍🧑"_s, 2), u"🧑🏼‍🤝‍🧑🏼"_s) << "both of them";
    EXPECT_EQ(search.inTone(u"🚀"_s, 3), u"🚀"_s);
    EXPECT_EQ(search.inTone(u"👋"_s, 77), u"👋"_s);
    EXPECT_FALSE(search.hasTones(u"👯"_s));
}

TEST(EmojiSearch, TakesExactlyOneEmojiThatTheFontHas)
{
    const EmojiFont font;
    const EmojiSearch search(tables, {}, [&](const QString &emoji) { return font.canDraw(emoji); });
    const struct {
        const char *typed, *taken; ///< null: nothing is
    } cases[] = {
        {"🚀", "🚀"},
        {" 🚀\n", "🚀"},
        {"❤", "❤️"},
        {"👩🏽‍🤝‍👩🏼", "👩🏽‍🤝‍👩🏼"},
        {"🏴󠁧󠁢󠁷󠁬󠁳󠁿", "🏴󠁧󠁢󠁷󠁬󠁳󠁿"},
        {"🇩🇪", "🇩🇪"},
        {"7️⃣", "7️⃣"},
        {"", nullptr},
        {"a", nullptr},
        {"7", nullptr},
        {"🚀🚀", nullptr},
        {"🚀 x", nullptr},
        {"🇩🇪🇫🇷", nullptr},
        {"🇽🇽", nullptr},           // no such flag
        {"🚀‍🚀", nullptr},  // nor such a sequence
        {"\xE2\x96\xB2", nullptr}, // a triangle that is no emoji
    };
    for (const auto &[typed, taken] : cases)
        EXPECT_EQ(search.single(QString::fromUtf8(typed)).value_or(QString()).toStdString(), taken ? taken : "")
            << typed;
    EXPECT_EQ(search.single(u"🚀"_s + QString(50'000, QChar(0x301))), std::nullopt);
}

TEST(EmojiSearch, OffersOnlyWhatCanBeDrawnAndAsksOnce)
{
    QHash<QString, int> asked;
    EmojiSearch search(tables, {}, [&asked](const QString &emoji) {
        ++asked[emoji];
        return emoji != u"🚀"_s;
    });
    for (int i = 0; i < 2; ++i)
        EXPECT_FALSE(search.find(u"rocket"_s).contains(u"🚀"_s));
    EXPECT_EQ(asked.value(u"🚀"_s), 1);
}

TEST(EmojiTable, RefusesWhatIsDamagedAndNeverReadsPastIt)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"en.emoji"_s);
    const QByteArray good = contents(tables + u"/en.emoji"_s);
    ASSERT_GT(good.size(), 1000);
    const QByteArray plain = qUncompress(good);
    const auto answers = [&](const QByteArray &bytes) {
        write(path, bytes);
        if (!EmojiTable::read(path))
            return false;
        EmojiSearch search(folder.path(), {u"de"_s}, drawsAll);
        for (const auto &typed : {u"r"_s, u"face s"_s, u"🚀"_s})
            for (const QString &emoji : search.find(typed))
                (void)search.name(search.inTone(emoji, 3));
        return true;
    };
    EXPECT_TRUE(answers(good));
    EXPECT_FALSE(EmojiTable::read(folder.filePath(u"none.emoji"_s)));
    for (const qsizetype size : {qsizetype(0), qsizetype(3), qsizetype(100), good.size() - 1})
        EXPECT_FALSE(answers(good.left(size))) << size;
    for (const qsizetype size : {qsizetype(10), qsizetype(24), plain.size() / 2, plain.size() - 1})
        EXPECT_FALSE(answers(qCompress(plain.left(size)))) << size;
    EXPECT_FALSE(answers(qCompress(plain + 'x')));
    EXPECT_FALSE(answers(QByteArray(300'000, 'x')));
    EXPECT_FALSE(answers(qCompress(QByteArray(60'000'000, 0)))) << "a small file that becomes a large one";
    // Every field of the header out of range, and numbers anywhere that are wrong.
    for (int field = 0; field < 6; ++field) {
        QByteArray wrong = plain;
        qToLittleEndian<quint32>(0xFFFFFFFF, wrong.data() + 4 * field);
        EXPECT_EQ(answers(qCompress(wrong)), field == 1) << "only the sum is free: " << field;
    }
    std::mt19937 random(1);
    int read = 0;
    for (int i = 0; i < 200; ++i) {
        QByteArray wrong = plain;
        for (int n = 0; n < 8; ++n)
            wrong[qsizetype(random() % size_t(wrong.size()))] = char(random());
        read += int(answers(qCompress(wrong, 1)));
    }
    EXPECT_GT(read, 0) << "some damage is only to texts";
    EXPECT_LT(read, 200);
}

} // namespace
} // namespace cobblet
