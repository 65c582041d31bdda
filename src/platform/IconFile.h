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

/// An icon file (".icns") of these images, in their order.
QByteArray encodeIconFile(const QList<IconFileImage> &images);
/// The images of an icon file that are PNGs of the known sizes, in their order; what else it holds is left out.
Result<QList<IconFileImage>> decodeIconFile(const QByteArray &file);

} // namespace cobblet
