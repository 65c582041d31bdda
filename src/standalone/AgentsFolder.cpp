#include "standalone/AgentsFolder.h"

#include "model/GroupCoding.h"
#include "model/Identifiers.h"
#include "platform/AtomicFile.h"
#include "platform/FileTree.h"
#include "platform/InfoPlist.h"

#include <QDir>
#include <QFileInfo>

namespace cobblet {

namespace {

using namespace std::chrono_literals;

/// What a build of another process takes on a slow disk.
constexpr auto lockPatience = 30s;

const QString contents = QStringLiteral("/Contents");
/// In a staging folder: what was at the destination, and the name of the destination.
const QString previous = QStringLiteral("/previous");
const QString destinationFile = QStringLiteral("/destination");
constexpr qint64 maximumName = 4096;

bool isFolder(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() && !info.isSymLink();
}

AgentBundle bundleAt(const QString &path)
{
    AgentBundle bundle{path, {}, {}, {}};
    if (const auto info = InfoPlist::read(path); info && info.value()) {
        bundle.identifier = info.value()->text("CFBundleIdentifier");
        bundle.stamp = info.value()->text("CBBinaryStamp");
    }
    if (auto config = readAgentGroupConfig(path))
        bundle.group = config.value().group;
    return bundle;
}

} // namespace

void AgentsFolder::make() const
{
    QDir().mkpath(m_path);
}

Result<std::unique_ptr<FileLock>> AgentsFolder::lock() const
{
    auto lock = std::make_unique<FileLock>(stagingFolder() + QStringLiteral("/lock"), lockPatience);
    if (!lock->mayWrite())
        return lock->mayWrite().cause();
    return lock;
}

QList<AgentBundle> AgentsFolder::bundles() const
{
    QList<AgentBundle> list;
    const auto names =
        QDir(m_path).entryList({QStringLiteral("*.app")}, QDir::Dirs | QDir::NoSymLinks | QDir::Hidden, QDir::Name);
    for (const QString &name : names)
        if (AgentBundle bundle = bundleAt(m_path + QLatin1Char('/') + name); bundle.group)
            list.append(std::move(bundle));
    return list;
}

QString AgentsFolder::destination(const AppGroup &group) const
{
    return m_path + QLatin1Char('/') + safeBundleName(group) + QStringLiteral(".app");
}

std::optional<AgentBundle> AgentsFolder::bundleOf(const AppGroup &group) const
{
    for (AgentBundle &bundle : bundles())
        if (bundle.identifier == agentIdentifier(group.id))
            return std::move(bundle);
    const QString path = destination(group);
    return isFolder(path) ? std::optional(bundleAt(path)) : std::nullopt;
}

Status AgentsFolder::mayReplace(const QString &path) const
{
    const QFileInfo info(path);
    if (!info.isSymLink() && !info.exists())
        return {};
    if (isFolder(path)) {
        const AgentBundle there = bundleAt(path);
        if (isAgentIdentifier(there.identifier) || (there.identifier.isEmpty() && there.group))
            return {};
    }
    return Error{
        QStringLiteral("“%1” was not made by Cobblet. Move it away, or give the group another name.").arg(path)};
}

Result<QString> AgentsFolder::makeStaging() const
{
    if (QFileInfo(stagingFolder()).isSymLink())
        return Error{QStringLiteral("“%1” is a link. Remove it, and try again.").arg(stagingFolder())};
    const QString path = stagingFolder() + QLatin1Char('/') + uuidText(QUuid::createUuid());
    if (!QDir().mkpath(path))
        return Error{
            QStringLiteral("The folder “%1” can't be made. See whether the disk is full, and whether you may "
                           "write there.")
                .arg(path)};
    return path;
}

Status AgentsFolder::keep(const QString &staging, const QString &destination) const
{
    QDir().mkdir(staging + previous);
    Status kept = linkTree(destination + contents, staging + previous + contents);
    if (!kept) {
        if (const Status cleared = removeTree(staging + previous + contents); !cleared)
            return cleared;
        kept = copyTree(destination + contents, staging + previous + contents);
    }
    return kept ? writeAtomically(staging + destinationFile, QFileInfo(destination).fileName().toUtf8()) : kept;
}

Status AgentsFolder::restore(const QString &staging) const
{
    const auto name = readBounded(staging + destinationFile, maximumName);
    if (!name)
        return name.cause();
    const QString fileName = QString::fromUtf8(name.value());
    const QString destination = m_path + QLatin1Char('/') + fileName;
    if (fileName.contains(QLatin1Char('/')) || !fileName.endsWith(QLatin1String(".app")) || !isFolder(destination) ||
        !isFolder(staging + previous + contents))
        return Error{QStringLiteral("“%1” can't be put back as it was.").arg(destination)};
    if (isFolder(destination + contents))
        if (const Status moved = moveTree(destination + contents, staging + QStringLiteral("/broken")); !moved)
            return moved;
    return moveTree(staging + previous + contents, destination + contents);
}

Status AgentsFolder::discard(const QString &bundle) const
{
    const auto staging = makeStaging();
    if (!staging)
        return removeTree(bundle); // on a full disk what is removed in place makes room
    const bool isThere = QFileInfo::exists(bundle);
    const Status moved = isThere ? moveTree(bundle, staging.value() + QStringLiteral("/discarded.app")) : Status();
    const Status removed = removeTree(staging.value());
    return moved ? removed : moved;
}

QStringList AgentsFolder::leftovers() const
{
    if (!isFolder(stagingFolder()))
        return {};
    return QDir(stagingFolder()).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks | QDir::Hidden);
}

Status AgentsFolder::recover(const std::function<bool(const QString &)> &isWhole) const
{
    Status outcome;
    for (const QString &name : leftovers()) {
        const QString staging = stagingFolder() + QLatin1Char('/') + name;
        const auto changed = readBounded(staging + destinationFile, maximumName);
        if (changed && !isWhole(m_path + QLatin1Char('/') + QString::fromUtf8(changed.value())))
            if (const Status restored = restore(staging); !restored)
                outcome = restored;
        if (const Status removed = removeTree(staging); !removed)
            outcome = removed;
    }
    return outcome;
}

} // namespace cobblet
