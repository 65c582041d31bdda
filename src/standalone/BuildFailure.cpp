#include "standalone/BuildFailure.h"

#include "model/AppGroup.h"
#include "platform/Bundle.h"
#include "platform/BundleTools.h"

#include <QStringList>
#include <QSysInfo>

namespace cobblet {

namespace {

QString sentence(const CodesignError &error)
{
    if (error.kind == CodesignError::Kind::ToolMissing)
        return error.path + QStringLiteral(" is missing or not executable on this Mac");
    const QString what = error.kind == CodesignError::Kind::Failed
                             ? QStringLiteral("codesign exited with status ")
                             : QStringLiteral("codesign --verify exited with status ");
    return what + QString::number(error.status) +
           (error.output.isEmpty() ? QString() : QStringLiteral(" — ") + error.output);
}

QString sentence(StandaloneError error)
{
    return error == StandaloneError::IconRenderFailed
               ? QStringLiteral("The group's icon can't be drawn or written.")
               : QStringLiteral("The new bundle can't be copied over the one that is there.");
}

QString sentence(const LaunchFailed &failure)
{
    return failure.reason;
}

QString sentence(const Error &error)
{
    return error.message;
}

} // namespace

QString message(const BuildFailure &failure)
{
    return std::visit([](const auto &each) { return sentence(each); }, failure);
}

QString failureDetails(const AppGroup &group, const BuildFailure &failure, const Bundle &program,
                       const BundleTools &tools)
{
    const auto isThere = [](const QString &tool) {
        return isExecutable(tool) ? QStringLiteral("true") : QStringLiteral("false");
    };
    return QStringList{QStringLiteral("Group: ") + group.name,
                       QStringLiteral("Error: ") + message(failure),
                       QStringLiteral("macOS: ") + QSysInfo::prettyProductName(),
                       QStringLiteral("App: %1 (%2)").arg(program.version, program.build),
                       QStringLiteral("codesign: ") + isThere(tools.codesign),
                       QStringLiteral("codesign_allocate: ") + isThere(tools.codesignAllocate),
                       QStringLiteral("DEVELOPER_DIR: ") +
                           qEnvironmentVariable("DEVELOPER_DIR", QStringLiteral("unset"))}
        .join(QLatin1Char('\n'));
}

} // namespace cobblet
