#include "platform/freedesktop/FreedesktopBundleTools.h"

#include <QFile>
#include <QStandardPaths>

#include <sys/xattr.h>

namespace cobblet::freedesktop {

namespace {

/// What browsers note about a download, and what comes with files from a Mac.
constexpr const char *foreignAttributes[] = {"user.xdg.origin.url", "user.xdg.referrer.url",
                                             "user.com.apple.quarantine", "user.com.apple.FinderInfo",
                                             "user.com.apple.ResourceFork"};

void stripAttributes(const QString &path)
{
    const QByteArray file = QFile::encodeName(path);
    for (const char *attribute : foreignAttributes)
        ::lremovexattr(file.constData(), attribute);
}

} // namespace

BundleTools bundleTools(const QString &bundle)
{
    const QString rsync = QStandardPaths::findExecutable(QStringLiteral("rsync"));
    return {bundle + QStringLiteral("/Contents/Helpers/codesign"),
            {},
            rsync.isEmpty() ? QStringLiteral("/usr/bin/rsync") : rsync,
            stripAttributes};
}

} // namespace cobblet::freedesktop
