#include "platform/freedesktop/apps/KeyFile.h"
#include "platform/freedesktop/apps/WindowResolver.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace cobblet;

/// The input is a desktop entry, then the window's and the process's marks, separated by zero bytes.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArrayList parts = QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)).split('\0');
    const auto text = [&](int i) { return QString::fromUtf8(parts.value(i)); };
    QList<IndexEntry> entries;
    for (const int i : {0, 2})
        if (const auto file = KeyFile::parse("[Desktop Entry]\n" + parts.value(i)))
            entries.append({text(i + 1), DesktopEntry(*file), i == 0});
    const ApplicationIndex index(entries);

    const WindowIdentity window{text(4), text(5), text(6), text(7)};
    ProcessIdentity process{parts.value(8).toLongLong(), text(9), {}, text(10), text(11), {}};
    int next = 12;
    for (const QByteArray &name : resolverEnvironment())
        process.environment.insert(name, text(next++));
    while (next < parts.size() && process.arguments.size() < 64)
        process.arguments.append(text(next++));

    // Whatever the input, an answer is the identifier of an installed application or none.
    const Resolution resolution = resolveApplication(window, process, index);
    const bool known = resolution.id.isEmpty() || index.byId(resolution.id);
    if (!known || resolution.id.isEmpty() != (resolution.by == Resolution().by))
        std::abort();
    return 0;
}
