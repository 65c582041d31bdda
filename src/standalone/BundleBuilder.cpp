#include "standalone/BundleBuilder.h"

#include "platform/AtomicFile.h"
#include "platform/FileLock.h"
#include "platform/FileTree.h"
#include "platform/InfoPlist.h"
#include "platform/LaunchRegistry.h"
#include "standalone/AgentMenu.h"
#include "standalone/GroupIconProvider.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>

namespace cobblet {

namespace {

Q_LOGGING_CATEGORY(log, "com.vantor.cobblet.standalone")

const QString resources = QStringLiteral("/Contents/Resources");
const QString emojiTables = QStringLiteral("/Contents/Resources/emoji");
const QString iconFile = QStringLiteral("/Contents/Resources/AppIcon.icns");

} // namespace

BuildStatus BundleBuilder::sync(const AppGroup &group, const QString &destination)
{
    if (m_services.source.isEmpty())
        return Error{
            QStringLiteral("Cobblet does not run from its application bundle. Install it, and start it from there.")};
    const auto lock = folder().lock();
    if (!lock)
        return lock.cause();
    if (const Status free = folder().mayReplace(destination); !free)
        return free.cause();
    const auto staging = folder().makeStaging();
    if (!staging)
        return staging.cause();
    const BuildStatus filled = fill(staging.value(), group, destination);
    if (const Status removed = removeTree(staging.value()); !removed)
        qCWarning(log).noquote() << removed.error();
    return filled;
}

BuildStatus BundleBuilder::fill(const QString &staging, const AppGroup &group, const QString &destination)
{
    const QString bundle = staging + QLatin1Char('/') + QFileInfo(m_services.source).fileName();
    if (const Status copied = copyTree(m_services.source, bundle); !copied)
        return copied.cause();
    if (const BuildStatus prepared = prepare(bundle, group); !prepared)
        return prepared;
    if (const BuildStatus isSigned = sign(bundle); !isSigned)
        return isSigned;
    if (!QFileInfo::exists(destination)) {
        // A copy could be seen, and left, half made.
        const Status moved = moveTree(bundle, destination);
        return moved ? BuildStatus() : moved.cause();
    }
    if (const BuildStatus mirrored = mirror(staging, bundle, destination); !mirrored)
        return mirrored;
    strip(destination);
    return {};
}

/// The folder at the destination stays the same one, so that what the desktop knows of it remains true.
BuildStatus BundleBuilder::mirror(const QString &staging, const QString &bundle, const QString &destination)
{
    if (const Status kept = folder().keep(staging, destination); !kept)
        return kept.cause();
    outdate(destination, bundle);
    const auto end = m_runner.run({.program = m_services.tools.rsync,
                                   .arguments = {QStringLiteral("-a"), QStringLiteral("--delete"),
                                                 bundle + QLatin1Char('/'), destination + QLatin1Char('/')}});
    if (end && end.value().status == 0)
        return {};
    if (const Status restored = folder().restore(staging); !restored)
        qCWarning(log).noquote() << restored.error();
    return end ? BuildStatus(StandaloneError::BundleSyncFailed) : end.cause();
}

BuildStatus BundleBuilder::prepare(const QString &bundle, const AppGroup &group)
{
    const QString plist = bundle + QStringLiteral("/Contents/Info.plist");
    const QString config = bundle + resources + QStringLiteral("/group-config.json");
    for (const QString &folder : {bundle + QStringLiteral("/Contents"), bundle + resources})
        if (QFileInfo(folder).isSymLink())
            return Error{QStringLiteral("“%1” is a link. Install Cobblet again, all of it.").arg(folder)};
    if (const Status removed = removeTree(bundle + resources + QStringLiteral("/Metadata.appintents")); !removed)
        qCWarning(log).noquote() << removed.error();

    // A third of the bundle: all agents read those of the program that they were copied from.
    if (const QString tables = m_services.source + emojiTables; QFileInfo::exists(tables)) {
        const Status removed = removeTree(bundle + emojiTables);
        if (!removed || !QFile::link(tables, bundle + emojiTables))
            qCWarning(log).noquote() << QStringLiteral("The agent has no names of emoji. %1").arg(removed.error());
    }

    const auto info = InfoPlist::read(bundle);
    if (!info)
        return info.cause();
    // Writing to a link would write to what it leads to, which is not the bundle's.
    for (const QString &file : {plist, config, bundle + iconFile})
        if (QFileInfo(file).isSymLink() && !QFile::remove(file))
            return Error{QStringLiteral("The link “%1” can't be replaced.").arg(file)};
    if (info.value()) {
        InfoPlist changed = *info.value();
        changed.setText("CFBundleIdentifier", agentIdentifier(group.id));
        changed.setText("CFBundleName", group.name);
        changed.setText("CFBundleDisplayName", group.name);
        changed.setFlag("LSMultipleInstancesProhibited", false);
        changed.setText("CFBundleIconFile", QStringLiteral("AppIcon"));
        changed.remove("CFBundleIconName");
        changed.setText("CBBinaryStamp", m_services.stamp);
        if (const Status written = changed.write(); !written)
            return written.cause();
    }

    if (const Status written = writeAtomically(config, encode({group})); !written) // makes the folder too
        return written.cause();
    QList<IconFileImage> icons = m_services.icons.images(group);
    if (icons.isEmpty() || !writeAtomically(bundle + iconFile, encodeIconFile(icons)))
        return StandaloneError::IconRenderFailed;
    for (IconFileImage &icon : icons)
        icon.pixels = {}; // megabytes, which no registry asks for
    m_icons.insert(group.id, icons);
    return {};
}

void BundleBuilder::strip(const QString &bundle)
{
    forEachInTree(bundle, m_services.tools.stripAttributes);
}

BuildStatus BundleBuilder::codesign(CodesignError::Kind failure, const QStringList &arguments)
{
    ToolCall call{.program = m_services.tools.codesign, .arguments = arguments, .keepsOutput = true};
    // A developer's choice of tools in the environment may lead to ones that are not there.
    call.environment.remove(QStringLiteral("DEVELOPER_DIR"));
    if (isExecutable(m_services.tools.codesignAllocate))
        call.environment.insert(QStringLiteral("CODESIGN_ALLOCATE"), m_services.tools.codesignAllocate);
    const auto end = m_runner.run(call);
    if (!end)
        return end.cause();
    const auto &[status, output] = end.value();
    if (status == 0)
        return {};
    const QLatin1String option(failure == CodesignError::Kind::VerifyFailed ? " --verify" : "");
    qCWarning(log).noquote() << QStringLiteral("codesign%1 failed (%2): %3").arg(option).arg(status).arg(output);
    return CodesignError{failure, {}, status, output};
}

BuildStatus BundleBuilder::verify(const QString &bundle)
{
    return codesign(CodesignError::Kind::VerifyFailed,
                    {QStringLiteral("--verify"), QStringLiteral("--strict"), bundle});
}

BuildStatus BundleBuilder::sign(const QString &bundle)
{
    using Kind = CodesignError::Kind;
    if (qEnvironmentVariableIsSet("CB_SIMULATE_SIGN_FAILURE"))
        return CodesignError{Kind::Failed, {}, 1, QStringLiteral("simulated failure (CB_SIMULATE_SIGN_FAILURE)")};
    strip(bundle);
    if (!isExecutable(m_services.tools.codesign))
        return CodesignError{Kind::ToolMissing, m_services.tools.codesign, 0, {}};
    const BuildStatus isSigned = codesign(Kind::Failed, {QStringLiteral("--force"), QStringLiteral("--deep"),
                                                         QStringLiteral("--sign"), QStringLiteral("-"), bundle});
    return isSigned ? verify(bundle) : isSigned;
}

void BundleBuilder::registerBundle(const QString &bundle, const AppGroup &group)
{
    // What shows icons reads one again when its file is newer.
    touch(bundle);
    touch(bundle + iconFile);
    const Status registered = m_services.registry.registerBundle(
        {bundle, agentIdentifier(group.id), group.name, QStringLiteral("Opens this group of applications"),
         bundle + QStringLiteral("/Contents/Helpers/cobblet"), m_icons.take(group.id), agentMenu(group)});
    if (!registered)
        qCWarning(log).noquote() << registered.error();
}

Status BundleBuilder::remove(const AgentBundle &bundle)
{
    const auto lock = folder().lock();
    const Status removed = lock ? folder().discard(bundle.path) : lock.cause();
    const Status forgotten =
        bundle.group ? m_services.registry.unregisterBundle(agentIdentifier(bundle.group->id)) : Status();
    return removed ? forgotten : removed;
}

Status BundleBuilder::recover()
{
    if (!folder().needsRecovery())
        return {};
    const auto lock = folder().lock();
    if (!lock)
        return lock.cause();
    return folder().recover([this](const QString &bundle) { return verify(bundle).ok(); });
}

} // namespace cobblet
