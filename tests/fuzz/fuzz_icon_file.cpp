// Whatever bytes come in, decoding an icon file ends with images or an error, and the images that it has survive
// being written and read again.
#include "platform/IconFile.h"

#include <cstdlib>

using namespace cobblet;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const auto images = decodeIconFile(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    if (!images) {
        if (images.error().isEmpty())
            std::abort();
        return 0;
    }
    const auto again = decodeIconFile(encodeIconFile(images.value()));
    if (!again || again.value().size() > images.value().size() ||
        decodeIconFile(encodeIconFile(again.value())).value() != again.value())
        std::abort();
    return 0;
}
