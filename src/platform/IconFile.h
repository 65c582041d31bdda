#pragma once

#include "platform/Result.h"

#include <QByteArray>
#include <QList>

namespace cobblet {

/// One size of an icon.
struct IconFileImage {
    int side = 0;   ///< in pixels: 16, 32, 64, 128, 256, 512 or 1024
    QByteArray png; ///< square, 8 bits per sample, with alpha

    bool operator==(const IconFileImage &) const = default;
};

/// An icon file (".icns") of these images, in their order. An image of another size, or whose data is no PNG of
/// its size, is left out.
QByteArray encodeIconFile(const QList<IconFileImage> &images);

/// The images of an icon file in the sizes above, in their order, the first of each size; what else it holds is left
/// out. The file may come from anywhere: its structure, its sizes and the headers of its PNGs are checked, their
/// pixels are not. Pixels are those that were encoded, the PNG data need not be.
Result<QList<IconFileImage>> decodeIconFile(const QByteArray &file);

} // namespace cobblet
