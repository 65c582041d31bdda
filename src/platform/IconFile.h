#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>

namespace cobblet {

/// One size of an icon.
struct IconFileImage {
    int side = 0;       ///< in pixels: 16, 32, 64, 128, 256, 512 or 1024
    QByteArray png;     ///< square, 8 bits per sample, with alpha
    QImage pixels = {}; ///< the same as an image; needed for 16, 32 and 128 pixels in an icon file
};

/// An icon file (".icns") of these images, in their order. An image of another size is left out.
QByteArray encodeIconFile(const QList<IconFileImage> &images);

} // namespace cobblet
