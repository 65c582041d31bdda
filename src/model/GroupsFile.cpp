#include "model/GroupsFile.h"

#include "model/GroupCoding.h"
#include "platform/AtomicFile.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

#include <cstring>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.model")

constexpr int keptCorruptFiles = 3;

bool isSomethingThere(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

/// Compared piece by piece: a large list need not be in memory twice for it.
bool holdsExactly(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return false;
    char piece[16 * 1024];
    for (qsizetype at = 0; at < bytes.size();) {
        const qint64 size = file.read(piece, qMin<qint64>(sizeof piece, bytes.size() - at));
        if (size <= 0 || std::memcmp(piece, bytes.constData() + at, size_t(size)) != 0)
            return false;
        at += size;
    }
    return true;
}

} // namespace

GroupsFile::GroupsFile(const QString &folder) : m_path(QDir(folder).filePath(QStringLiteral("groups.json"))) {}

GroupsFile::Look GroupsFile::look()
{
    if (m_stamp && m_stamp->isCurrent())
        return {};
    // Taken before reading: a file that is replaced in between is read again at the next look.
    m_stamp.emplace(m_path);
    m_isBad = isSomethingThere(m_path);
    if (!m_isBad)
        return {Look::Missing, {}};
    const auto bytes = readBounded(m_path, maximumJsonBytes);
    auto groups = bytes ? decodeGroups(bytes.value()) : Result<QList<AppGroup>>(Error{bytes.error()});
    if (!groups) {
        qCWarning(log, "%ls holds no groups: %ls", qUtf16Printable(m_path), qUtf16Printable(groups.error()));
        return {Look::Missing, {}};
    }
    m_isBad = false;
    return {Look::Read, std::move(groups).value()};
}

Status GroupsFile::write(const QByteArray &json)
{
    if (m_isBad) {
        if (Status status = setAside(); !status)
            return status; // better a list that is only in the defaults than a lost file
        m_isBad = false;
    } else if (FileStamp now(m_path); now.size() == json.size() && holdsExactly(m_path, json)) {
        m_stamp = std::move(now);
        return {};
    }
    Status status = writeAtomically(m_path, json);
    m_stamp.emplace(m_path);
    return status;
}

Status GroupsFile::setAside()
{
    QDir folder = QFileInfo(m_path).dir();
    QDateTime date = QDateTime::currentDateTimeUtc();
    QString aside;
    do {
        aside = m_path + QStringLiteral(".corrupt-") + date.toString(Qt::ISODateWithMs);
        date = date.addMSecs(1);
    } while (isSomethingThere(aside));
    if (!folder.rename(m_path, aside))
        return Error{QStringLiteral("Can't set %1 aside, so it is not written.").arg(m_path)};
    qCWarning(log, "%ls is kept as %ls.", qUtf16Printable(m_path), qUtf16Printable(aside));

    // The names sort by date.
    QStringList kept = folder.entryList({QFileInfo(m_path).fileName() + QStringLiteral(".corrupt-*")},
                                        QDir::Files | QDir::System | QDir::Hidden, QDir::Name);
    while (kept.size() > keptCorruptFiles)
        folder.remove(kept.takeFirst());
    return {};
}

} // namespace cobblet
