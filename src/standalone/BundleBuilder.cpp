#include "standalone/BundleBuilder.h"

#include "platform/AtomicFile.h"
#include "platform/FileLock.h"
#include "platform/FileTree.h"
#include "platform/InfoPlist.h"
#include "platform/LaunchRegistry.h"
#include "standalone/GroupIconProvider.h"
#include "standalone/GroupMenu.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "com.vantor.cobblet.standalone")

const QString resources = QStringLiteral("/Contents/Resources");
const QString iconFile = QStringLiteral("/Contents/Resources/AppIcon.icns");

/// Writing to a link would write to what it leads to, which is not the bundle's.
BuildOutcome unlinked(const QString &path)
{
    if (QFileInfo(path).isSymLink() && !QFile::remove(path))
        return Error{QStringLiteral("The link “%1” can't be replaced.").arg(path)};
    return {};
}

} // namespace

BuildOutcome BundleBuilder::build(const AppGroup &group, const QString &destination)
{
    if (m_services.source.isEmpty())
        return Error{
            QStringLiteral("Cobblet does not run from its application bundle. Install it, and start it from there.")};
    return sync(m_services.source, destination, [&](const QString &bundle) { return prepare(bundle, group); });
}

BuildOutcome BundleBuilder::sync(const QString &source, const QString &destination, const Prepare &prepare)
{
    std::unique_ptr<FileLock> lock;
    if (const Status locked = folder().lock(lock); !locked)
        return Error{locked.error()};
    if (const Status free = folder().mayReplace(destination); !free)
        return Error{free.error()};
    const auto staging = folder().makeStaging();
    if (!staging)
        return Error{staging.error()};
    const BuildOutcome result = fill(staging.value(), source, destination, prepare);
    if (const Status removed = removeTree(staging.value()); !removed)
        qCWarning(log).noquote() << removed.error();
    return result;
}

BuildOutcome BundleBuilder::fill(const QString &staging, const QString &source, const QString &destination,
                                 const Prepare &prepare)
{
    const QString bundle = staging + QLatin1Char('/') + QFileInfo(source).fileName();
    if (const Status copied = copyTree(source, bundle); !copied)
        return Error{copied.error()};
    if (auto failure = prepare(bundle))
        return failure;
    if (auto failure = sign(bundle))
        return failure;
    if (!QFileInfo::exists(destination))
        // A copy could be seen, and left, half made.
        return outcome(moveTree(bundle, destination));
    if (auto failure = mirror(staging, bundle, destination))
        return failure;
    strip(destination);
    return {};
}

/// The folder at the destination stays the same one, so that what the desktop knows of it remains true.
BuildOutcome BundleBuilder::mirror(const QString &staging, const QString &bundle, const QString &destination)
{
    if (const Status kept = folder().keep(staging, destination); !kept)
        return Error{kept.error()};
    outdate(destination, bundle);
    const auto end = m_runner.run({m_services.tools.rsync,
                                   {QStringLiteral("-a"), QStringLiteral("--delete"), bundle + QLatin1Char('/'),
                                    destination + QLatin1Char('/')},
                                   {},
                                   false});
    if (end && end.value().status == 0)
        return {};
    if (const Status restored = folder().restore(staging); !restored)
        qCWarning(log).noquote() << restored.error();
    return end ? BuildFailure(StandaloneError::BundleSyncFailed) : BuildFailure(Error{end.error()});
}

BuildOutcome BundleBuilder::prepare(const QString &bundle, const AppGroup &group)
{
    for (const QString &folder : {bundle + QStringLiteral("/Contents"), bundle + resources})
        if (QFileInfo(folder).isSymLink())
            return Error{QStringLiteral("“%1” is a link. Install Cobblet again, all of it.").arg(folder)};
    if (const Status removed = removeTree(bundle + resources + QStringLiteral("/Metadata.appintents")); !removed)
        qCWarning(log).noquote() << removed.error();

    auto info = InfoPlist::read(bundle);
    if (!info)
        return Error{info.error()};
    if (auto &plist = info.value()) {
        InfoPlist changed = *plist;
        changed.setText("CFBundleIdentifier", agentIdentifier(group.id));
        changed.setText("CFBundleName", group.name);
        changed.setText("CFBundleDisplayName", group.name);
        changed.setFlag("LSMultipleInstancesProhibited", false);
        changed.setText("CFBundleIconFile", QStringLiteral("AppIcon"));
        changed.remove("CFBundleIconName");
        changed.setText("CBBinaryStamp", m_services.stamp);
        if (auto failure = unlinked(bundle + QStringLiteral("/Contents/Info.plist")))
            return failure;
        if (const Status written = changed.write(); !written)
            return Error{written.error()};
    }

    if (!QDir().mkpath(bundle + resources))
        return Error{QStringLiteral("The folder “%1” can't be made.").arg(bundle + resources)};
    const QString config = bundle + resources + QStringLiteral("/group-config.json");
    for (const QString &file : {config, bundle + iconFile})
        if (auto failure = unlinked(file))
            return failure;
    if (const Status written = writeAtomically(config, encode({group})); !written)
        return Error{written.error()};
    const QList<IconFileImage> icons = m_services.icons.images(group);
    if (icons.isEmpty() || !writeAtomically(bundle + iconFile, encodeIconFile(icons)))
        return StandaloneError::IconRenderFailed;
    m_icons.insert(group.id, icons);
    return {};
}

void BundleBuilder::strip(const QString &bundle)
{
    forEachInTree(bundle, m_services.tools.stripAttributes);
}

Result<ToolEnd> BundleBuilder::codesign(const QStringList &arguments)
{
    // A developer's choice of tools in the environment may lead to ones that are not there.
    ToolCall call{m_services.tools.codesign, arguments, {{"DEVELOPER_DIR", std::nullopt}}, true};
    if (isExecutable(m_services.tools.codesignAllocate))
        call.environment.insert("CODESIGN_ALLOCATE", QFile::encodeName(m_services.tools.codesignAllocate));
    return m_runner.run(call);
}

BuildOutcome BundleBuilder::sign(const QString &bundle)
{
    using Kind = CodesignError::Kind;
    if (qEnvironmentVariableIsSet("CB_SIMULATE_SIGN_FAILURE"))
        return CodesignError{Kind::Failed, {}, 1, QStringLiteral("simulated failure (CB_SIMULATE_SIGN_FAILURE)")};
    strip(bundle);
    if (!isExecutable(m_services.tools.codesign))
        return CodesignError{Kind::ToolMissing, m_services.tools.codesign, 0, {}};

    const auto end = codesign(
        {QStringLiteral("--force"), QStringLiteral("--deep"), QStringLiteral("--sign"), QStringLiteral("-"), bundle});
    if (!end)
        return Error{end.error()};
    if (const ToolEnd &signing = end.value(); signing.status != 0) {
        qCWarning(log).noquote()
            << QStringLiteral("codesign failed (%1): %2").arg(signing.status).arg(signing.output);
        return CodesignError{Kind::Failed, {}, signing.status, signing.output};
    }
    const auto verified = codesign({QStringLiteral("--verify"), QStringLiteral("--strict"), bundle});
    if (!verified)
        return Error{verified.error()};
    if (const ToolEnd &check = verified.value(); check.status != 0) {
        qCWarning(log).noquote()
            << QStringLiteral("codesign --verify failed (%1): %2").arg(check.status).arg(check.output);
        return CodesignError{Kind::VerifyFailed, {}, check.status, check.output};
    }
    return {};
}

void BundleBuilder::registerBundle(const QString &bundle, const AppGroup &group)
{
    // What shows icons reads one again when its file is newer.
    touch(bundle);
    touch(bundle + iconFile);
    const Status registered = m_services.registry.registerBundle(
        {bundle, agentIdentifier(group.id), group.name, QStringLiteral("Opens this group of applications"),
         bundle + QStringLiteral("/Contents/Helpers/cobblet"), m_icons.take(group.id), groupMenu(group)});
    if (!registered)
        qCWarning(log).noquote() << registered.error();
}

Status BundleBuilder::remove(const AgentBundle &bundle)
{
    std::unique_ptr<FileLock> lock;
    Status removed = folder().lock(lock);
    if (removed)
        removed = folder().discard(bundle.path);
    const Status forgotten =
        bundle.group ? m_services.registry.unregisterBundle(agentIdentifier(bundle.group->id)) : Status();
    return removed ? forgotten : removed;
}

Status BundleBuilder::recover()
{
    if (!folder().needsRecovery())
        return {};
    std::unique_ptr<FileLock> lock;
    if (const Status locked = folder().lock(lock); !locked)
        return locked;
    return folder().recover([this](const QString &bundle) {
        const auto end = codesign({QStringLiteral("--verify"), QStringLiteral("--strict"), bundle});
        return end && end.value().status == 0;
    });
}

} // namespace cobblet
