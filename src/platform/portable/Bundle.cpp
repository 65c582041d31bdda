#include "platform/Bundle.h"

#include "platform/InfoPlist.h"

#include <QDir>
#include <QFileInfo>

namespace cobblet {

Bundle Bundle::holding(const QString &executable)
{
    QDir contents = QFileInfo(executable).dir(); // .../Contents/MacOS
    if (contents.dirName() != QLatin1String("MacOS") || !contents.cdUp() ||
        contents.dirName() != QLatin1String("Contents"))
        return {};
    const QString path = QFileInfo(contents.absolutePath()).absolutePath();
    const auto info = InfoPlist::read(path);
    if (!info || !info.value())
        return {};
    return {info.value()->text("CFBundleIdentifier"), info.value()->text("CFBundleShortVersionString"),
            info.value()->text("CFBundleVersion"), executable, path};
}

} // namespace cobblet
