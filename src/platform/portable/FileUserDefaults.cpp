#include "platform/portable/FileUserDefaults.h"

#include "platform/AtomicFile.h"
#include "platform/FileLock.h"

#include <QCborArray>
#include <QCborStreamReader>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

#include <utility>

namespace cobblet {

Q_LOGGING_CATEGORY(lcDefaults, "cobblet.defaults")

namespace {

constexpr qint64 maximumFileBytes = 64 * 1024 * 1024;
constexpr quint64 maximumValues = 10'000;
constexpr qsizetype largeValueBytes = 16 * 1024;

QString fileOf(const QString &folder, const QString &domain)
{
    return folder + QLatin1Char('/') + domain + QStringLiteral(".cbor");
}

/// The domain's file, or that of its stand-in where there is one and the domain's can't be opened.
QString usableFile(const QString &folder, const QString &domain, const QString &standIn)
{
    const QFileInfo file(fileOf(folder, domain));
    if (standIn.isEmpty() || standIn == domain || !file.exists() || (file.isFile() && file.isReadable()))
        return file.filePath();
    qCWarning(lcDefaults).noquote() << QStringLiteral("The preferences in %1 can't be opened: those of %2 are used.")
                                           .arg(file.filePath(), standIn);
    return fileOf(folder, standIn);
}

bool isPlain(const QCborValue &value)
{
    return value.isBool() || value.isInteger() || value.isDouble() || value.isString() || value.isByteArray();
}

/// The values of a file, all of them plain. Nothing nested is ever read, so a file takes little more memory than
/// its size.
Result<QCborMap> readValues(const QString &path)
{
    const auto bytes = readBounded(path, maximumFileBytes);
    if (!bytes)
        return Error{bytes.error()};
    QCborStreamReader reader(bytes.value());
    const auto next = [&reader] {
        return reader.isContainer() || reader.isTag() ? QCborValue() : QCborValue::fromCbor(reader);
    };
    QCborMap values;
    bool good =
        reader.isMap() && reader.isLengthKnown() && reader.length() <= maximumValues && reader.enterContainer();
    while (good && reader.hasNext()) {
        const QCborValue key = next();
        const QCborValue value = next();
        good = key.isString() && isPlain(value) && reader.lastError() == QCborError::NoError;
        if (good) // after an error they are not even whole values
            values.insert(key.toString(), value);
    }
    good = good && reader.lastError() == QCborError::NoError && reader.leaveContainer();
    if (!good || reader.currentOffset() != bytes.value().size())
        return Error{QStringLiteral("It is no map of plain values.")};
    return values;
}

} // namespace

FileUserDefaults::FileUserDefaults(const QString &folder, const QString &domain, Following following,
                                   const QString &standIn)
    : m_following(following), m_folder(folder), m_path(usableFile(folder, domain, standIn)), m_stamp(m_path)
{
    QDir().mkpath(folder);
    watch(); // before the first look, so that no change falls between the two
    m_stamp = FileStamp(m_path);
    adopt(read(false));
}

/// The file's values; none when there is no file. A file that cannot be used is set aside, which needs the lock:
/// another process may be putting a good one in its place.
QCborMap FileUserDefaults::read(bool locked)
{
    if (!QFileInfo::exists(m_path))
        return {};
    const auto values = readValues(m_path);
    if (values)
        return values.value();
    if (!locked) {
        const FileLock lock(m_path + QStringLiteral(".lock"));
        return lock.mayWrite() ? read(true) : QCborMap();
    }
    const auto aside = setAside(m_path);
    qCWarning(lcDefaults).noquote() << QStringLiteral("The preferences in %1 can't be used: %2 %3")
                                           .arg(m_path, values.error(),
                                                aside ? QStringLiteral("They were kept as %1.").arg(aside.value())
                                                      : aside.error());
    return {};
}

/// Remembers the values; whether they differ from those that were known.
bool FileUserDefaults::adopt(const QCborMap &values)
{
    QCborMap kept; // a map of its own: one whose values are replaced keeps their bytes
    for (const auto &[key, value] : values) {
        const QByteArray bytes = value.toByteArray();
        kept.insert(key, bytes.size() > largeValueBytes ? QCborArray{qint64(qHash(bytes))} : QCborValue(value));
    }
    return std::exchange(m_values, kept) != kept;
}

std::optional<QVariant> FileUserDefaults::object(const QString &key) const
{
    QCborValue value = stored(key);
    if (value.isArray()) {
        const auto values = readValues(m_path);
        value = values ? values.value().value(key) : QCborValue();
    }
    if (value.isUndefined())
        value = m_registered.value(key);
    return value.isUndefined() ? std::nullopt : std::optional(value.toVariant());
}

Status FileUserDefaults::set(const QString &key, const QVariant &value)
{
    const QCborValue plain = QCborValue::fromVariant(value);
    if (!isPlain(plain) || key.isEmpty())
        return Error{QStringLiteral("The preference “%1” can't hold a value of the type %2.")
                         .arg(key, QString::fromLatin1(value.typeName()))};
    return change(key, plain);
}

/// Every change goes through the list of unsaved ones, which a successful write empties: what an unwritable
/// home kept from disk gets there as soon as it can.
Status FileUserDefaults::change(const QString &key, const QCborValue &value)
{
    m_unsaved[key] = value;
    bool differs = true; // in memory, when it can't be written
    {
        const FileLock lock(m_path + QStringLiteral(".lock"));
        m_lastWrite = lock.mayWrite();
        const QCborMap before = m_lastWrite ? read(true) : QCborMap();
        QCborMap values = before;
        for (auto it = m_unsaved.cbegin(); it != m_unsaved.cend(); ++it)
            it->isUndefined() ? values.remove(it.key()) : void(values.insert(it.key(), *it));
        if (m_lastWrite && values != before) {
            const QByteArray bytes = values.toCborValue().toCbor();
            m_lastWrite = bytes.size() <= maximumFileBytes && quint64(values.size()) <= maximumValues
                              ? writeAtomically(m_path, bytes)
                              : Error{QStringLiteral("Can't write %1: it would become too large.").arg(m_path)};
        }
        if (m_lastWrite) {
            m_unsaved.clear();
            m_stamp = FileStamp(m_path);
            differs = adopt(values);
        }
    }
    if (m_lastWrite)
        watch();
    else if (!std::exchange(m_warned, true))
        qCWarning(lcDefaults).noquote() << m_lastWrite.error();
    if (differs)
        emit didChange();
    return m_lastWrite;
}

void FileUserDefaults::registerDefault(const QString &key, const QVariant &value)
{
    m_registered[key] = QCborValue::fromVariant(value);
}

Availability FileUserDefaults::availability() const
{
    if (!m_unsaved.isEmpty())
        return Availability::partly(
            QStringLiteral("Changes of the preferences are lost when the program ends. %1").arg(m_lastWrite.error()));
    if (!QFileInfo(m_folder).isDir() || !QFileInfo(m_folder).isWritable())
        return Availability::partly(
            QStringLiteral("Preferences can't be changed for good: make %1 a folder that you may write to.")
                .arg(m_folder));
    const QString kept = QStringLiteral("The preferences are kept in %1.").arg(m_path);
    const QString aside = asideSentence(m_path);
    return aside.isEmpty() ? Availability::works(kept) : Availability::partly(kept + QLatin1Char(' ') + aside);
}

std::optional<QDateTime> FileUserDefaults::lastStored() const
{
    const QFileInfo file(m_path);
    return file.exists() ? std::optional(file.lastModified()) : std::nullopt;
}

void FileUserDefaults::synchronize()
{
    if (m_stamp.isCurrent())
        return;
    m_stamp = FileStamp(m_path);
    if (adopt(read(false)))
        emit didChange();
}

/// The folder is watched and not the file, which every write replaces.
void FileUserDefaults::watch()
{
    if (m_following != Following::Watched)
        return;
    if (!m_watcher) {
        m_watcher = std::make_unique<QFileSystemWatcher>();
        connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, this, &FileUserDefaults::synchronize);
    }
    if (m_watcher->directories().isEmpty() && QFileInfo::exists(m_folder))
        m_watcher->addPath(m_folder);
}

} // namespace cobblet
