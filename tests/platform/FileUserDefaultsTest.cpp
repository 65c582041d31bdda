#include "platform/freedesktop/FileUserDefaults.h"
#include "platform/freedesktop/PlistDomain.h"

#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <unistd.h>

#include <limits>

using namespace cobblet;

namespace {

const QString domain = QStringLiteral("com.example.test");

class FileUserDefaultsTest : public testing::Test {
protected:
    QString folder() const { return m_home.filePath(QStringLiteral("config/cobblet")); }
    QString file() const { return folder() + QLatin1Char('/') + domain + QStringLiteral(".plist"); }
    void put(const QByteArray &bytes) const
    {
        QDir().mkpath(folder());
        QFile out(file());
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }
    QStringList setAside() const
    {
        return QDir(folder()).entryList({QStringLiteral("*.corrupt-*")}, QDir::AllEntries);
    }
    std::unique_ptr<FileUserDefaults> open() const { return std::make_unique<FileUserDefaults>(folder(), domain); }

    QTemporaryDir m_home;
};

QByteArray binaryPlist(plist_t root)
{
    char *bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    const QByteArray result(bytes, length);
    plist_to_bin_free(bytes);
    plist_free(root);
    return result;
}

/// A dictionary whose `references` keys all name one data object of `size` bytes.
QByteArray amplifier(quint32 references, int size)
{
    QByteArray bytes("bplist00");
    QDataStream out(&bytes, QIODevice::Append); // big-endian, as the format is
    std::vector<quint32> offsets;
    const auto begin = [&](quint8 marker, quint32 count) {
        offsets.push_back(quint32(bytes.size()));
        out << quint8(marker | 0xF) << quint8(0x12) << count;
    };
    begin(0xD0, references);
    for (quint32 i = 0; i < references; ++i)
        out << 2 + i;
    for (quint32 i = 0; i < references; ++i)
        out << quint32(1);
    begin(0x40, quint32(size));
    out.writeRawData(QByteArray(size, 'x').constData(), size);
    for (quint32 i = 0; i < references; ++i) {
        begin(0x50, 5);
        out.writeRawData(QByteArray::number(10'000 + i).constData(), 5);
    }
    const quint64 table = quint64(bytes.size());
    for (const quint32 offset : offsets)
        out << offset;
    out << quint32(0) << quint16(0) << quint8(4) << quint8(4) << quint64(offsets.size()) << quint64(0) << table;
    return bytes;
}

TEST_F(FileUserDefaultsTest, EveryTypeSurvivesTheFile)
{
    using Limits = std::numeric_limits<qint64>;
    // clang-format off
    const QList<QVariant> values{
        true, false, qint64(0), qint64(1), qint64(-3), qint64(300), Limits::max(), Limits::min(), 0.1, -1e300, QString(),
        QStringLiteral("plain"), QStringLiteral("👩‍💻 “é” مرحبا"), QStringLiteral("a") + QChar() + QStringLiteral("b"),
        QString(100'000, u's'), QByteArray(), QByteArray("\0\xff\x01", 3), QByteArray(5'000'000, '{')};
    // clang-format on
    auto writer = open();
    for (qsizetype i = 0; i < values.size(); ++i)
        ASSERT_TRUE(writer->set(QStringLiteral("k%1").arg(i), values[i]));
    const auto reader = open();
    for (qsizetype i = 0; i < values.size(); ++i) {
        const QString key = QStringLiteral("k%1").arg(i);
        for (const FileUserDefaults *each : {writer.get(), reader.get()}) {
            const auto read = each->object(key);
            ASSERT_TRUE(read) << i;
            EXPECT_EQ(read->metaType(), values[i].metaType()) << i;
            EXPECT_EQ(*read, values[i]) << i;
        }
    }
    for (const QVariant &other : {QVariant(), QVariant(QStringList{QStringLiteral("a")}), QVariant(QVariantMap())})
        EXPECT_FALSE(writer->set(QStringLiteral("other"), other));
    EXPECT_FALSE(writer->contains(QStringLiteral("other")));
}

TEST(PlistDomain, SpeaksTheCommonFormat)
{
    const std::tuple<const char *, plist_t, QVariant> rows[] = {
        {"flag", plist_new_bool(1), true},
        {"minus", plist_new_uint(uint64_t(-3)), qint64(-3)},
        {"number", plist_new_uint(70'000), qint64(70'000)},
        {"real", plist_new_real(0.25), 0.25},
        {"text", plist_new_string("wörter"), QStringLiteral("wörter")},
        {"long", plist_new_string(QByteArray(300, 'x').constData()), QString(300, u'x')},
        {"data", plist_new_data("\0\1", 2), QByteArray("\0\1", 2)}};
    plist_t theirs = plist_new_dict();
    QMap<QString, QVariant> expected;
    for (const auto &[key, item, value] : rows) {
        plist_dict_set_item(theirs, key, item);
        expected[QLatin1String(key)] = value;
    }
    const auto ours = PlistDomain::decode(binaryPlist(theirs));
    ASSERT_TRUE(ours);
    EXPECT_EQ(ours.value().values(), expected);

    // And the library reads what is written here: it writes it again as it was.
    const QByteArray written = ours.value().encode();
    plist_t read = nullptr;
    plist_from_memory(written.constData(), uint32_t(written.size()), &read);
    ASSERT_TRUE(read);
    const auto back = PlistDomain::decode(binaryPlist(read));
    ASSERT_TRUE(back);
    EXPECT_EQ(back.value().values(), expected);
}

TEST_F(FileUserDefaultsTest, RegisteredDefaultsShowThroughAndAreNotStored)
{
    auto defaults = open();
    defaults->registerDefault(QStringLiteral("glassy"), true);
    EXPECT_TRUE(defaults->boolean(QStringLiteral("glassy")));
    EXPECT_FALSE(defaults->contains(QStringLiteral("glassy")));
    ASSERT_TRUE(defaults->set(QStringLiteral("glassy"), false));
    EXPECT_FALSE(defaults->boolean(QStringLiteral("glassy")));
    ASSERT_TRUE(defaults->remove(QStringLiteral("glassy")));
    EXPECT_TRUE(defaults->boolean(QStringLiteral("glassy")));
    EXPECT_FALSE(open()->object(QStringLiteral("glassy")));
}

TEST_F(FileUserDefaultsTest, AChangeIsToldOnceAndAtOnce)
{
    auto defaults = open();
    QSignalSpy changes(defaults.get(), &UserDefaults::didChange);
    ASSERT_TRUE(defaults->set(QStringLiteral("a"), 1));
    EXPECT_EQ(changes.size(), 1);
    ASSERT_TRUE(defaults->set(QStringLiteral("a"), 1)) << "the same value again";
    changes.wait(250);
    EXPECT_EQ(changes.size(), 1) << "our own write came back from the watch";
}

TEST_F(FileUserDefaultsTest, TwoOpenDomainsFollowEachOther)
{
    auto one = open();
    auto two = open();
    QSignalSpy seenByTwo(two.get(), &UserDefaults::didChange);
    ASSERT_TRUE(one->set(QStringLiteral("large"), QByteArray(100'000, 'a')));
    ASSERT_TRUE(seenByTwo.wait(200));
    EXPECT_EQ(two->data(QStringLiteral("large")), QByteArray(100'000, 'a'));
    ASSERT_TRUE(one->set(QStringLiteral("large"), QByteArray(100'000, 'b')));
    ASSERT_TRUE(seenByTwo.wait(200)) << "same size, other content";

    // Two has not heard of this yet and writes on top of it all the same.
    ASSERT_TRUE(one->set(QStringLiteral("fromOne"), 1));
    ASSERT_TRUE(two->set(QStringLiteral("fromTwo"), 2));
    EXPECT_EQ(two->integer(QStringLiteral("fromOne")), 1);
    QSignalSpy seenByOne(one.get(), &UserDefaults::didChange);
    ASSERT_TRUE(seenByOne.wait(200));
    EXPECT_EQ(one->integer(QStringLiteral("fromTwo")), 2);
}

TEST_F(FileUserDefaultsTest, ProcessesWritingAtTheSameTimeLoseNothing)
{
    std::vector<std::unique_ptr<QProcess>> writers;
    for (int i = 0; i < 3; ++i) {
        writers.push_back(std::make_unique<QProcess>());
        writers.back()->start(QStringLiteral(PLATFORM_HELPER), {QStringLiteral("defaults"), folder(), domain,
                                                                QStringLiteral("w%1").arg(i), QStringLiteral("60")});
    }
    for (const auto &writer : writers) {
        ASSERT_TRUE(writer->waitForFinished(60'000));
        EXPECT_EQ(writer->exitCode(), 0);
    }
    const auto defaults = open();
    for (int i = 0; i < 3; ++i)
        for (int n = 0; n < 60; ++n)
            EXPECT_TRUE(defaults->contains(QStringLiteral("w%1-%2").arg(i).arg(n)));
}

TEST_F(FileUserDefaultsTest, AFileThatCannotBeUsedIsSetAside)
{
    plist_t nested = plist_new_dict();
    plist_t list = plist_new_array();
    plist_array_append_item(list, plist_new_bool(1));
    plist_dict_set_item(nested, "list", list);
    plist_t uid = plist_new_dict();
    plist_dict_set_item(uid, "uid", plist_new_uid(7));
    QByteArray deep("<plist>");
    for (int i = 0; i < 100'000; ++i)
        deep += "<array>";
    plist_t fine = plist_new_dict();
    plist_dict_set_item(fine, "key", plist_new_string("value"));
    const QByteArray good = binaryPlist(fine);
    QByteArray badOffset = good;
    badOffset[good.size() - 33] = char(0xff);

    ASSERT_TRUE(PlistDomain::decode(amplifier(2, 10))) << "in itself it is a good file";
    const std::vector<std::pair<const char *, QByteArray>> files{
        {"empty", QByteArray()},
        {"text", "key = value"},
        {"half written", good.left(good.size() / 2)},
        {"offset past the end", badOffset},
        {"nested values", binaryPlist(nested)},
        {"a uid", binaryPlist(uid)},
        {"no dictionary", binaryPlist(plist_new_string("alone"))},
        {"deeply nested text form", deep},
        {"one value referred to often", amplifier(5'000, 1'000'000)},
        {"enormous", QByteArray(65 * 1024 * 1024, '\0')},
    };
    for (const auto &[name, bytes] : files) {
        SCOPED_TRACE(name);
        const qsizetype before = setAside().size();
        put(bytes);
        auto defaults = open();
        EXPECT_FALSE(defaults->contains(QStringLiteral("key")));
        EXPECT_FALSE(QFile::exists(file()));
        EXPECT_EQ(setAside().size(), std::min<qsizetype>(before + 1, 3)) << "the newest three are kept";
        ASSERT_TRUE(defaults->set(QStringLiteral("after"), 1));
        EXPECT_EQ(open()->integer(QStringLiteral("after")), 1);
        ::usleep(2000); // the copies are told apart by milliseconds
    }
    auto defaults = open();
    put("found while writing");
    ASSERT_TRUE(defaults->set(QStringLiteral("key"), 2));
    EXPECT_EQ(open()->integer(QStringLiteral("key")), 2);
    QFile last(folder() + QLatin1Char('/') + setAside().constLast());
    ASSERT_TRUE(last.open(QIODevice::ReadOnly));
    EXPECT_EQ(last.readAll(), "found while writing") << "the bytes as they were";
}

TEST_F(FileUserDefaultsTest, AnyDamageToAGoodFileIsSurvived)
{
    plist_t root = plist_new_dict();
    plist_dict_set_item(root, "text", plist_new_string("wörter"));
    plist_dict_set_item(root, "data", plist_new_data("0123456789abcdef", 16));
    plist_dict_set_item(root, "number", plist_new_uint(300));
    plist_dict_set_item(root, "real", plist_new_real(0.5));
    const QByteArray good = binaryPlist(root);
    ASSERT_TRUE(PlistDomain::decode(good));
    int decoded = 0;
    for (qsizetype at = 0; at < good.size(); ++at)
        for (int value = 0; value < 256; ++value) {
            QByteArray damaged = good;
            damaged[at] = char(value);
            if (const auto result = PlistDomain::decode(damaged)) {
                ++decoded;
                EXPECT_FALSE(result.value().encode().isEmpty());
            }
        }
    EXPECT_GT(decoded, 256);
}

TEST_F(FileUserDefaultsTest, KeepsItsValuesWhereNothingCanBeWritten)
{
    // A file in the folder's place: permissions would not stop a test that runs as root.
    QDir().mkpath(m_home.filePath(QStringLiteral("config")));
    QFile blocker(folder());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    auto defaults = open();
    QSignalSpy changes(defaults.get(), &UserDefaults::didChange);
    const Status status = defaults->set(QStringLiteral("a"), QStringLiteral("value"));
    EXPECT_FALSE(status);
    EXPECT_FALSE(status.error().isEmpty());
    EXPECT_EQ(defaults->string(QStringLiteral("a")), QStringLiteral("value"));
    EXPECT_EQ(changes.size(), 1);
    (void)defaults->set(QStringLiteral("b"), 1);
    (void)defaults->remove(QStringLiteral("b"));
    EXPECT_FALSE(defaults->contains(QStringLiteral("b")));

    ASSERT_TRUE(QFile::remove(folder()));
    ASSERT_TRUE(defaults->set(QStringLiteral("c"), 3));
    EXPECT_EQ(open()->string(QStringLiteral("a")), QStringLiteral("value")) << "written as soon as it can be";
}

} // namespace
