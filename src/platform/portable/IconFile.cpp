#include "platform/IconFile.h"

#include <QtEndian>

#include <algorithm>
#include <array>

namespace cobblet {

namespace {

struct Element {
    const char *type;
    int side;
    const char *mask; ///< the type of the alpha channel where `type` holds packed colours; null where it is a PNG
};

// PNGs of 16, 32 and 64 pixels have types of their own ("icp4" to "icp6"), but an application whose icon has them is
// shown a damaged one, and icns2png knows neither these nor "ic07". The older packed types are read everywhere. Of 64
// pixels there is none, so that size is written as 32 points at the double scale. Pillow and the toolkit's plugin
// read all seven then, icns2png all but 64.
constexpr std::array elements{
    Element{"is32", 16, "s8mk"},    Element{"il32", 32, "l8mk"},   Element{"ic12", 64, nullptr},
    Element{"it32", 128, "t8mk"},   Element{"ic08", 256, nullptr}, Element{"ic09", 512, nullptr},
    Element{"ic10", 1024, nullptr},
};

void append(QByteArray &file, const char *type, const QByteArray &data)
{
    std::array<char, 4> length{};
    qToBigEndian(quint32(8 + data.size()), length.data());
    file.append(type, 4).append(length.data(), 4).append(data);
}

/// Packs runs of bytes: a byte below 128 is followed by that many bytes and one more, which stand for themselves; one
/// from 128 on is followed by a byte that is repeated that many times less 125.
void pack(QByteArray &to, const QByteArray &plane)
{
    constexpr qsizetype longestCopy = 128;
    constexpr qsizetype longestRepeat = 130;
    // Some readers lose a repetition that ends the data, so the last byte never belongs to one.
    const qsizetype last = plane.size() - 1;
    const auto repeats = [&](qsizetype from) {
        qsizetype end = from;
        while (end < last && end - from < longestRepeat && plane[end] == plane[from])
            ++end;
        return end - from;
    };
    for (qsizetype at = 0; at < plane.size();) {
        if (const qsizetype count = repeats(at); count >= 3) {
            to.append(char(count + 125)).append(plane[at]);
            at += count;
            continue;
        }
        qsizetype end = at + 1;
        while (end < plane.size() && end - at < longestCopy && repeats(end) < 3)
            ++end;
        to.append(char(end - at - 1)).append(plane.constData() + at, end - at);
        at = end;
    }
}

void appendPacked(QByteArray &body, const Element &element, const QImage &image)
{
    const QImage pixels = image.convertToFormat(QImage::Format_RGBA8888);
    // The type of 128 pixels alone has four unused bytes before its colours.
    QByteArray packed(element.side == 128 ? 4 : 0, '\0');
    for (int channel = 0; channel < 4; ++channel) {
        QByteArray plane;
        for (int y = 0; y < element.side; ++y)
            for (int x = 0; x < element.side; ++x)
                plane.append(char(pixels.constScanLine(y)[4 * x + channel]));
        if (channel < 3) {
            pack(packed, plane);
        } else {
            append(body, element.type, packed);
            append(body, element.mask, plane);
        }
    }
}

} // namespace

QByteArray encodeIconFile(const QList<IconFileImage> &images)
{
    QByteArray body;
    for (const IconFileImage &image : images) {
        const auto *const element =
            std::find_if(elements.begin(), elements.end(), [&](const Element &e) { return e.side == image.side; });
        if (element == elements.end())
            continue;
        if (!element->mask)
            append(body, element->type, image.png);
        else if (image.pixels.size() == QSize(image.side, image.side))
            appendPacked(body, *element, image.pixels);
    }
    QByteArray file;
    append(file, "icns", body);
    return file;
}

} // namespace cobblet
