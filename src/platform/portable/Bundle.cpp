#include "platform/Bundle.h"

#include "platform/AtomicFile.h"

#include <QDir>
#include <QFileInfo>

#include <plist/plist.h>

#include <memory>

namespace cobblet {

namespace {

constexpr qint64 maximumInfoBytes = 1024 * 1024;

struct PlistDeleter {
    void operator()(void *node) const { plist_free(node); }
};
using Plist = std::unique_ptr<void, PlistDeleter>;

QString text(plist_t dictionary, const char *key)
{
    plist_t node = plist_dict_get_item(dictionary, key);
    if (!node || plist_get_node_type(node) != PLIST_STRING)
        return {};
    return QString::fromUtf8(plist_get_string_ptr(node, nullptr));
}

/// The running executable's file; works before any application object exists.
QString executablePath()
{
    return QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
}

} // namespace

Bundle Bundle::current()
{
    QDir contents = QFileInfo(executablePath()).dir(); // .../Contents/MacOS
    if (contents.dirName() != QLatin1String("MacOS") || !contents.cdUp() ||
        contents.dirName() != QLatin1String("Contents"))
        return {};
    const auto bytes = readBounded(contents.filePath(QStringLiteral("Info.plist")), maximumInfoBytes);
    if (!bytes)
        return {};
    plist_t raw = nullptr;
    plist_from_memory(bytes.value().constData(), uint32_t(bytes.value().size()), &raw);
    const Plist info(raw);
    if (!info || plist_get_node_type(info.get()) != PLIST_DICT)
        return {};
    return {text(info.get(), "CFBundleIdentifier"), text(info.get(), "CFBundleShortVersionString"),
            QFileInfo(contents.absolutePath()).absolutePath()};
}

} // namespace cobblet
