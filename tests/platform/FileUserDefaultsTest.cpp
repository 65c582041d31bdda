#include "platform/portable/FileUserDefaults.h"
#include "support/Test.h"

#include <QCborMap>

#include <limits>

using namespace cobblet;

namespace {

const QString domain = u"com.example.test"_s;

class FileUserDefaultsTest : public testing::Test {
protected:
    QString folder() const { return m_home.filePath(u"config/cobblet"_s); }
    QString file() const { return folder() + u'/' + domain + u".cbor"_s; }
    void put(const QByteArray &bytes) const { test::write(file(), bytes); }
    QStringList setAside() const { return QDir(folder()).entryList({u"*.corrupt-*"_s}); }
    std::unique_ptr<FileUserDefaults> open() const { return std::make_unique<FileUserDefaults>(folder(), domain); }

    QTemporaryDir m_home;
};

TEST_F(FileUserDefaultsTest, EveryTypeSurvivesTheFileAndShowsOverTheRegisteredDefault)
{
    const QList<QVariant> values{true, std::numeric_limits<qint64>::min(), 1.0, u"👩‍💻 “é” مرحبا"_s,
                                 QByteArray(5'000'000, '\xff')};
    auto writer = open();
    for (qsizetype i = 0; i < values.size(); ++i)
        ASSERT_TRUE(writer->set(u"k%1"_s.arg(i), values[i]));
    const auto reader = open();
    for (qsizetype i = 0; i < values.size(); ++i)
        for (FileUserDefaults *each : {writer.get(), reader.get()}) {
            each->registerDefault(u"k%1"_s.arg(i), u"registered"_s);
            const QVariant read = each->object(u"k%1"_s.arg(i)).value_or(QVariant());
            EXPECT_EQ(read.metaType(), values[i].metaType()) << i;
            EXPECT_EQ(read, values[i]) << i;
        }
    ASSERT_TRUE(writer->remove(u"k0"_s));
    EXPECT_EQ(writer->string(u"k0"_s), u"registered"_s);
    EXPECT_FALSE(open()->object(u"k0"_s));
    EXPECT_FALSE(writer->set(u"other"_s, QStringList{u"a"_s}));
    EXPECT_FALSE(writer->contains(u"other"_s));
}

TEST_F(FileUserDefaultsTest, ChangesAreToldOnceAndReachOtherProcesses)
{
    auto one = open(), two = open();
    QSignalSpy seenByOne(one.get(), &UserDefaults::didChange);
    QSignalSpy seenByTwo(two.get(), &UserDefaults::didChange);
    for (const char content : {'a', 'b'}) { // of the same size
        ASSERT_TRUE(one->set(u"large"_s, QByteArray(100'000, content)));
        ASSERT_TRUE(seenByTwo.wait(2000));
        EXPECT_EQ(two->data(u"large"_s), QByteArray(100'000, content));
    }
    ASSERT_TRUE(one->set(u"large"_s, QByteArray(100'000, 'b'))) << "the same value again";
    EXPECT_FALSE(seenByOne.wait(150)) << "our own writes come back from the watch";
    EXPECT_EQ(seenByOne.size(), 2);

    // Two has not heard of this yet and writes on top of it all the same.
    ASSERT_TRUE(one->set(u"fromOne"_s, 1));
    ASSERT_TRUE(two->set(u"fromTwo"_s, 2));
    EXPECT_EQ(two->integer(u"fromOne"_s), 1);
    ASSERT_TRUE(seenByOne.wait(2000));
    EXPECT_EQ(one->integer(u"fromTwo"_s), 2);
}

TEST_F(FileUserDefaultsTest, AFileThatCannotBeUsedIsSetAside)
{
    const QByteArray good = QCborMap{{u"key"_s, u"value"_s}}.toCborValue().toCbor();
    const std::pair<const char *, QByteArray> files[] = {
        {"empty", {}},
        {"half written", good.chopped(1)},
        {"a null", QCborMap{{u"key"_s, nullptr}}.toCborValue().toCbor()},
        {"no map", QCborValue(u"alone"_s).toCbor()},
        {"deeply nested", QByteArray(1'000'000, '\x81')},
        {"a text longer than the file", QByteArray("\xa1\x7b\x7f\xff\xff\xff\xff\xff\xff\xff", 10)},
        {"enormous", QByteArray(65 * 1024 * 1024, '\0')},
    };
    for (const auto &[name, bytes] : files) {
        SCOPED_TRACE(name);
        const qsizetype before = setAside().size();
        put(bytes);
        auto defaults = open();
        EXPECT_FALSE(defaults->contains(u"key"_s));
        EXPECT_FALSE(QFile::exists(file()));
        EXPECT_EQ(setAside().size(), std::min<qsizetype>(before + 1, 3)) << "the newest three are kept";
        ASSERT_TRUE(defaults->set(u"after"_s, 1));
        EXPECT_EQ(open()->integer(u"after"_s), 1);
    }
    auto defaults = open();
    put("found while writing");
    ASSERT_TRUE(defaults->set(u"key"_s, 2));
    EXPECT_EQ(open()->integer(u"key"_s), 2);
    EXPECT_EQ(test::content(folder() + u'/' + setAside().constLast()), "found while writing");
}

TEST_F(FileUserDefaultsTest, TheStandInTakesThePlaceOfADomainThatCannotBeOpened)
{
    const auto suite = [this] {
        return FileUserDefaults(folder(), domain, FileUserDefaults::Following::Watched, u"standard"_s);
    };
    ASSERT_TRUE(suite().set(u"key"_s, 1));
    EXPECT_EQ(open()->integer(u"key"_s), 1) << "there is no need for one";
    QFile::remove(file());
    ASSERT_TRUE(QDir().mkpath(file())); // permissions would not stop a test that runs as root
    ASSERT_TRUE(suite().set(u"key"_s, 2));
    EXPECT_EQ(FileUserDefaults(folder(), u"standard"_s).integer(u"key"_s), 2);
    EXPECT_TRUE(setAside().isEmpty());
}

TEST_F(FileUserDefaultsTest, AnyDamageToAGoodFileIsSurvived)
{
    const QCborMap values{
        {u"text"_s, u"wörter"_s}, {u"data"_s, QByteArray("0123456789")}, {u"number"_s, 300}, {u"real"_s, 0.5}};
    const QByteArray good = values.toCborValue().toCbor();
    int readable = 0;
    for (qsizetype at = 0; at < good.size(); ++at)
        for (int bit = 0; bit < 8; ++bit) {
            QByteArray damaged = good;
            damaged[at] = char(damaged[at] ^ 1 << bit);
            put(damaged);
            FileUserDefaults defaults(folder(), domain, FileUserDefaults::Following::WhenSynchronized);
            readable += QFile::exists(file());
        }
    EXPECT_TRUE(readable > 100 && readable < good.size() * 7) << readable;
}

TEST_F(FileUserDefaultsTest, KeepsItsValuesWhereNothingCanBeWritten)
{
    // A file in the folder's place: permissions would not stop a test that runs as root.
    QDir().mkpath(m_home.filePath(u"config"_s));
    ASSERT_TRUE(QFile(folder()).open(QIODevice::WriteOnly));
    auto defaults = open();
    QSignalSpy changes(defaults.get(), &UserDefaults::didChange);
    EXPECT_EQ(defaults->availability().level, Availability::Level::Partly);
    const Status status = defaults->set(u"a"_s, u"value"_s);
    EXPECT_FALSE(status);
    EXPECT_TRUE(defaults->availability().sentence.contains(status.error()));
    EXPECT_EQ(defaults->string(u"a"_s), u"value"_s);
    EXPECT_EQ(changes.size(), 1);

    ASSERT_TRUE(QFile::remove(folder()));
    ASSERT_TRUE(defaults->set(u"c"_s, 3));
    EXPECT_EQ(open()->string(u"a"_s), u"value"_s) << "written as soon as it can be";
    EXPECT_EQ(defaults->availability().level, Availability::Level::Works);
}

} // namespace
