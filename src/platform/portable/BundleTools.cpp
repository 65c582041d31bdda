#include "platform/BundleTools.h"

#include <QFileInfo>

namespace cobblet {

bool isExecutable(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() && info.isExecutable();
}

Availability BundleTools::availability() const
{
    if (!isExecutable(codesign))
        return Availability::unavailable(
            QStringLiteral("Groups can't become applications: “%1” is missing. Install Cobblet again, all of it.")
                .arg(codesign));
    if (!isExecutable(rsync))
        return Availability::partly(
            QStringLiteral("Groups become applications, but these can't be kept up to date: install rsync."));
    return Availability::works(
        QStringLiteral("Groups can become applications of their own, and are kept up to date."));
}

} // namespace cobblet
