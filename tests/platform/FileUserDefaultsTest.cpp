#include "platform/portable/FileUserDefaults.h"

#include <QCborArray>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>

using namespace cobblet;

namespace {

const QString domain = QStringLiteral("com.example.test");

class FileUserDefaultsTest : public testing::Test {
protected:
    QString folder() const { return m_home.filePath(QStringLiteral("config/cobblet")); }
    QString file() const { return folder() + QLatin1Char('/') + domain + QStringLiteral(".cbor"); }
    void put(const QByteArray &bytes) const
    {
        QDir().mkpath(folder());
        QFile out(file());
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(bytes);
    }
    QStringList setAside() const { return QDir(folder()).entryList({QStringLiteral("*.corrupt-*")}); }
    std::unique_ptr<FileUserDefaults> open() const { return std::make_unique<FileUserDefaults>(folder(), domain); }

    QTemporaryDir m_home;
};

TEST_F(FileUserDefaultsTest, EveryTypeSurvivesTheFileAndShowsOverTheRegisteredDefault)
{
    using Limits = std::numeric_limits<qint64>;
    // clang-format off
    const QList<QVariant> values{
        true, false, qint64(0), qint64(1), qint64(-3), Limits::max(), Limits::min(), 0.1, 1.0, -1e300, QString(),
        QStringLiteral("👩‍💻 “é” مرحبا"), QStringLiteral("a") + QChar() + QStringLiteral("b"), QString(100'000, u's'),
        QByteArray(), QByteArray("\0\xff\x01", 3), QByteArray(5'000'000, '{')};
    // clang-format on
    auto writer = open();
    for (qsizetype i = 0; i < values.size(); ++i)
        ASSERT_TRUE(writer->set(QStringLiteral("k%1").arg(i), values[i]));
    const auto reader = open();
    for (qsizetype i = 0; i < values.size(); ++i) {
        const QString key = QStringLiteral("k%1").arg(i);
        for (FileUserDefaults *each : {writer.get(), reader.get()}) {
            each->registerDefault(key, QStringLiteral("registered"));
            const auto read = each->object(key);
            ASSERT_TRUE(read) << i;
            EXPECT_EQ(read->metaType(), values[i].metaType()) << i;
            EXPECT_EQ(*read, values[i]) << i;
        }
    }
    ASSERT_TRUE(writer->remove(QStringLiteral("k0")));
    EXPECT_FALSE(writer->contains(QStringLiteral("k0")));
    EXPECT_EQ(writer->string(QStringLiteral("k0")), QStringLiteral("registered"));
    EXPECT_FALSE(open()->object(QStringLiteral("k0")));
    for (const QVariant &other : {QVariant(), QVariant(QStringList{QStringLiteral("a")}), QVariant(QVariantMap())})
        EXPECT_FALSE(writer->set(QStringLiteral("other"), other));
    EXPECT_FALSE(writer->contains(QStringLiteral("other")));
}

TEST_F(FileUserDefaultsTest, ChangesAreToldOnceAndReachOtherProcesses)
{
    auto one = open();
    auto two = open();
    QSignalSpy seenByOne(one.get(), &UserDefaults::didChange);
    QSignalSpy seenByTwo(two.get(), &UserDefaults::didChange);
    const QString key = QStringLiteral("large");
    ASSERT_TRUE(one->set(key, QByteArray(100'000, 'a')));
    EXPECT_EQ(seenByOne.size(), 1);
    ASSERT_TRUE(seenByTwo.wait(200));
    EXPECT_EQ(two->data(key), QByteArray(100'000, 'a'));
    ASSERT_TRUE(one->set(key, QByteArray(100'000, 'b')));
    ASSERT_TRUE(seenByTwo.wait(200)) << "same size, other content";
    ASSERT_TRUE(one->set(key, QByteArray(100'000, 'b'))) << "the same value again";
    EXPECT_FALSE(seenByOne.wait(150)) << "our own writes come back from the watch";
    EXPECT_EQ(seenByOne.size(), 2);

    // Two has not heard of this yet and writes on top of it all the same.
    ASSERT_TRUE(one->set(QStringLiteral("fromOne"), 1));
    ASSERT_TRUE(two->set(QStringLiteral("fromTwo"), 2));
    EXPECT_EQ(two->integer(QStringLiteral("fromOne")), 1);
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
    const QByteArray good = QCborMap{{QStringLiteral("key"), QStringLiteral("value")}}.toCborValue().toCbor();
    put(good);
    ASSERT_TRUE(open()->contains(QStringLiteral("key")));
    const std::vector<std::pair<const char *, QByteArray>> files{
        {"empty", QByteArray()},
        {"text", "key = value"},
        {"half written", good.chopped(1)},
        {"more behind it", good + '\0'},
        {"nested values", QCborMap{{QStringLiteral("key"), QCborArray{1}}}.toCborValue().toCbor()},
        {"a null", QCborMap{{QStringLiteral("key"), nullptr}}.toCborValue().toCbor()},
        {"a number as a key", QCborMap{{7, 7}}.toCborValue().toCbor()},
        {"no map", QCborValue(QStringLiteral("alone")).toCbor()},
        {"deeply nested", QByteArray(1'000'000, '\x81')},
        {"a text longer than the file", QByteArray("\xa1\x7b\x7f\xff\xff\xff\xff\xff\xff\xff", 10)},
        {"a map longer than the file", QByteArray("\xbb\x7f\xff\xff\xff\xff\xff\xff\xff", 9)},
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
    const QByteArray good = QCborMap{{QStringLiteral("text"), QStringLiteral("wörter")},
                                     {QStringLiteral("data"), QByteArray("0123456789")},
                                     {QStringLiteral("number"), 300},
                                     {QStringLiteral("real"), 0.5}}
                                .toCborValue()
                                .toCbor();
    QtMessageHandler before = qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    int readable = 0;
    for (qsizetype at = 0; at < good.size(); ++at)
        for (const int flipped : {0x01, 0x02, 0x04, 0x08, 0x10, 0x20, 0x40, 0x80, 0xff}) {
            QByteArray damaged = good;
            damaged[at] = char(damaged[at] ^ flipped);
            put(damaged);
            FileUserDefaults defaults(folder(), domain, FileUserDefaults::Following::WhenSynchronized);
            readable += QFile::exists(file());
        }
    qInstallMessageHandler(before);
    EXPECT_GT(readable, 100);
    EXPECT_LT(readable, good.size() * 8);
}

TEST_F(FileUserDefaultsTest, KeepsItsValuesWhereNothingCanBeWritten)
{
    // A file in the folder's place: permissions would not stop a test that runs as root.
    QDir().mkpath(m_home.filePath(QStringLiteral("config")));
    QFile blocker(folder());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    auto defaults = open();
    QSignalSpy changes(defaults.get(), &UserDefaults::didChange);
    EXPECT_EQ(defaults->availability().level, Availability::Level::Partly);
    const Status status = defaults->set(QStringLiteral("a"), QStringLiteral("value"));
    EXPECT_FALSE(status);
    EXPECT_TRUE(defaults->availability().sentence.contains(status.error()));
    EXPECT_EQ(defaults->string(QStringLiteral("a")), QStringLiteral("value"));
    EXPECT_EQ(changes.size(), 1);
    (void)defaults->set(QStringLiteral("b"), 1);
    (void)defaults->remove(QStringLiteral("b"));
    EXPECT_FALSE(defaults->contains(QStringLiteral("b")));

    ASSERT_TRUE(QFile::remove(folder()));
    ASSERT_TRUE(defaults->set(QStringLiteral("c"), 3));
    EXPECT_EQ(open()->string(QStringLiteral("a")), QStringLiteral("value")) << "written as soon as it can be";
    EXPECT_EQ(defaults->availability().level, Availability::Level::Works);
}

} // namespace
