#include "standalone/BuildFailure.h"

#include "model/AppGroup.h"
#include "platform/Bundle.h"
#include "platform/BundleTools.h"

#include <QFileInfo>
#include <QStringList>
#include <QSysInfo>

namespace cobblet {

bool isExecutable(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() && info.isExecutable();
}

QString CodesignError::message() const
{
    if (kind == Kind::ToolMissing)
        return path + QStringLiteral(" is missing or not executable on this Mac");
    const QString what = kind == Kind::Failed ? QStringLiteral("codesign exited with status ")
                                              : QStringLiteral("codesign --verify exited with status ");
    return what + QString::number(status) + (output.isEmpty() ? QString() : QStringLiteral(" — ") + output);
}

QString message(StandaloneError error)
{
    return error == StandaloneError::IconRenderFailed
               ? QStringLiteral("The group's icon can't be drawn or written.")
               : QStringLiteral("The new application can't be copied over the one that is there.");
}

QString description(const BuildFailure &failure)
{
    if (const auto *codesign = std::get_if<CodesignError>(&failure))
        return codesign->message();
    if (const auto *standalone = std::get_if<StandaloneError>(&failure))
        return message(*standalone);
    return std::get<Error>(failure).message;
}

QString failureDetails(const AppGroup &group, const BuildFailure &failure, const Bundle &program,
                       const BundleTools &tools)
{
    const auto isThere = [](const QString &tool) {
        return isExecutable(tool) ? QStringLiteral("true") : QStringLiteral("false");
    };
    return QStringList{QStringLiteral("Group: ") + group.name,
                       QStringLiteral("Error: ") + description(failure),
                       QStringLiteral("macOS: ") + QSysInfo::prettyProductName(),
                       QStringLiteral("App: %1 (%2)").arg(program.version, program.build),
                       QStringLiteral("codesign: ") + isThere(tools.codesign),
                       QStringLiteral("codesign_allocate: ") + isThere(tools.codesignAllocate),
                       QStringLiteral("DEVELOPER_DIR: ") +
                           qEnvironmentVariable("DEVELOPER_DIR", QStringLiteral("unset"))}
        .join(QLatin1Char('\n'));
}

} // namespace cobblet
