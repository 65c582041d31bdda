#include "platform/freedesktop/FileUserDefaults.h"

#include "platform/AtomicFile.h"
#include "platform/FileLock.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

#include <cstdio>
#include <utility>

namespace cobblet {

Q_LOGGING_CATEGORY(lcDefaults, "cobblet.defaults")

namespace {

constexpr qint64 maximumFileBytes = 64 * 1024 * 1024;
constexpr qsizetype largeValueBytes = 16 * 1024;
constexpr int keptAside = 3;

} // namespace

FileUserDefaults::FileUserDefaults(const QString &folder, const QString &domain, Following following, QObject *parent)
    : m_following(following), m_path(folder + QLatin1Char('/') + domain + QStringLiteral(".plist")),
      m_lockPath(m_path + QStringLiteral(".lock")), m_stamp(m_path)
{
    setParent(parent);
    QDir().mkpath(folder);
    watch(); // before the first look, so that no change falls between the two
    m_stamp = FileStamp(m_path);
    adopt(read(false));
}

/// The file's content; an empty domain when there is none. A file that cannot be used is set aside, which needs
/// the lock: another process may be putting a good one in its place.
PlistDomain FileUserDefaults::read(bool locked)
{
    if (!QFileInfo::exists(m_path))
        return {};
    const auto bytes = readBounded(m_path, maximumFileBytes);
    const Result<PlistDomain> domain = bytes ? PlistDomain::decode(bytes.value()) : Error{bytes.error()};
    if (domain)
        return domain.value();
    if (!locked) {
        const FileLock lock(m_lockPath);
        return lock.mayWrite() ? read(true) : PlistDomain();
    }
    setAside(domain.error());
    return {};
}

void FileUserDefaults::setAside(const QString &reason)
{
    const QString stem = m_path + QStringLiteral(".corrupt-");
    const QString aside = stem + QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs);
    if (::rename(QFile::encodeName(m_path).constData(), QFile::encodeName(aside).constData()) != 0) {
        warnOnce(QStringLiteral("The preferences in %1 can't be used and stay as they are: %2").arg(m_path, reason));
        return;
    }
    qCWarning(lcDefaults).noquote()
        << QStringLiteral("The preferences in %1 can't be used and were kept as %2: %3").arg(m_path, aside, reason);
    const QFileInfo info(stem);
    const QStringList kept =
        info.dir().entryList({info.fileName() + QLatin1Char('*')}, QDir::AllEntries | QDir::Hidden, QDir::Name);
    for (qsizetype i = 0; i + keptAside < kept.size(); ++i)
        QFile::remove(info.dir().filePath(kept[i]));
}

/// Remembers what the domain holds; whether that differs from what was known.
bool FileUserDefaults::adopt(const PlistDomain &domain)
{
    Values values;
    for (auto it = domain.values().cbegin(); it != domain.values().cend(); ++it) {
        const QByteArray bytes = it->typeId() == QMetaType::QByteArray ? it->toByteArray() : QByteArray();
        values[it.key()] =
            bytes.size() > largeValueBytes ? Known{QVariant(), bytes.size(), qHash(bytes)} : Known{*it};
    }
    const bool differs = values != m_values;
    m_values = std::move(values);
    return differs;
}

std::optional<QVariant> FileUserDefaults::object(const QString &key) const
{
    if (const auto unsaved = m_unsaved.constFind(key); unsaved != m_unsaved.cend()) {
        if (*unsaved)
            return *unsaved;
    } else if (const auto known = m_values.constFind(key); known != m_values.cend()) {
        if (known->largeSize < 0)
            return known->value;
        const auto bytes = readBounded(m_path, maximumFileBytes);
        const Result<PlistDomain> domain = bytes ? PlistDomain::decode(bytes.value()) : Error{bytes.error()};
        if (domain && domain.value().values().contains(key))
            return domain.value().values().value(key);
    }
    if (const auto registered = m_registered.constFind(key); registered != m_registered.cend())
        return *registered;
    return std::nullopt;
}

bool FileUserDefaults::contains(const QString &key) const
{
    const auto unsaved = m_unsaved.constFind(key);
    return unsaved != m_unsaved.cend() ? unsaved->has_value() : m_values.contains(key);
}

Status FileUserDefaults::set(const QString &key, const QVariant &value)
{
    const auto normalized = PlistDomain::normalized(value);
    if (!normalized || key.isEmpty())
        return Error{QStringLiteral("The preference “%1” can't hold a value of the type %2.")
                         .arg(key, QString::fromLatin1(value.typeName()))};
    return change(key, normalized);
}

Status FileUserDefaults::remove(const QString &key)
{
    return change(key, std::nullopt);
}

bool FileUserDefaults::applyUnsaved(PlistDomain &domain) const
{
    bool changed = false;
    for (auto it = m_unsaved.cbegin(); it != m_unsaved.cend(); ++it)
        changed |= *it ? domain.set(it.key(), **it) : domain.remove(it.key());
    return changed;
}

/// Every change goes through the list of unsaved ones, which a successful write empties: what an unwritable
/// home kept from disk gets there as soon as it can.
Status FileUserDefaults::change(const QString &key, const std::optional<QVariant> &value)
{
    m_unsaved[key] = value;
    Status written;
    bool differs = true; // in memory, when it can't be written
    {
        const FileLock lock(m_lockPath);
        written = lock.mayWrite();
        PlistDomain domain = written ? read(true) : PlistDomain();
        if (written && applyUnsaved(domain)) {
            const QByteArray bytes = domain.encode();
            written = bytes.size() <= maximumFileBytes
                          ? writeAtomically(m_path, bytes)
                          : Error{QStringLiteral("Can't write %1: it would be larger than %2 bytes.")
                                      .arg(m_path)
                                      .arg(maximumFileBytes)};
        }
        if (written) {
            m_unsaved.clear();
            m_stamp = FileStamp(m_path);
            differs = adopt(domain);
        }
    }
    if (written)
        watch();
    else
        warnOnce(written.error());
    if (differs)
        emit didChange();
    return written;
}

void FileUserDefaults::registerDefault(const QString &key, const QVariant &value)
{
    if (const auto normalized = PlistDomain::normalized(value))
        m_registered[key] = *normalized;
}

void FileUserDefaults::follow()
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
        connect(m_watcher.get(), &QFileSystemWatcher::directoryChanged, this, &FileUserDefaults::follow);
    }
    const QString folder = QFileInfo(m_path).absolutePath();
    if (!m_watcher->directories().contains(folder) && QFileInfo::exists(folder))
        m_watcher->addPath(folder);
}

void FileUserDefaults::warnOnce(const QString &message)
{
    if (!std::exchange(m_warned, true))
        qCWarning(lcDefaults).noquote() << message;
}

} // namespace cobblet
