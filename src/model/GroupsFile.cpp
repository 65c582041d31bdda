#include "model/GroupsFile.h"

#include "model/GroupCoding.h"
#include "platform/AtomicFile.h"

#include <QDateTime>
#include <QFileInfo>
#include <QLoggingCategory>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "cobblet.model")

} // namespace

GroupsFile::GroupsFile(const QString &folder, std::chrono::milliseconds stillness)
    : m_path(folder + QStringLiteral("/groups.json")), m_stillness(stillness)
{
}

bool GroupsFile::isUnfinished() const
{
    const QDateTime changed = QFileInfo(m_path).lastModified();
    const qint64 age = changed.msecsTo(QDateTime::currentDateTime());
    return m_isBad && changed.isValid() && age >= 0 && age < m_stillness.count();
}

GroupsFile::Look GroupsFile::look()
{
    if (m_stamp && m_stamp->isCurrent())
        return {};
    // Taken before reading: a file that is replaced in between is read again at the next look.
    m_stamp.emplace(m_path);
    m_isBad = QFileInfo::exists(m_path) || QFileInfo(m_path).isSymLink();
    if (!m_isBad)
        return {Look::Missing, {}, {}};
    const auto bytes = readBounded(m_path, maximumJsonBytes);
    auto groups = bytes ? decodeGroups(bytes.value()) : Result<QList<AppGroup>>(Error{bytes.error()});
    if (!groups && isUnfinished()) {
        forget();
        return {Look::Unfinished, {}, {}};
    }
    if (!groups)
        return {Look::Missing, {}, groups.error()};
    m_isBad = false;
    return {Look::Read, std::move(groups).value(), {}};
}

Status GroupsFile::write(const QByteArray &json)
{
    if (isUnfinished())
        return Error{QStringLiteral("Another program is writing %1.").arg(m_path)};
    if (m_isBad) {
        const auto aside = setAside(m_path);
        if (!aside)
            return Error{aside.error()}; // better a list that is only in the defaults than a lost file
        qCWarning(log, "%ls is kept as %ls.", qUtf16Printable(m_path), qUtf16Printable(aside.value()));
        m_isBad = false;
    }
    FileStamp now(m_path); // before reading, as in look()
    const auto stored = now.size() == json.size() ? readBounded(m_path, json.size()) : Error{};
    if (stored && stored.value() == json) {
        m_stamp = std::move(now);
        return {};
    }
    const Status status = writeAtomically(m_path, json);
    m_stamp.emplace(m_path);
    return status;
}

} // namespace cobblet
