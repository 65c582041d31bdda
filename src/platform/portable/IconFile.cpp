#include "platform/IconFile.h"

#include <QBuffer>
#include <QImage>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <optional>

namespace cobblet {

namespace {

constexpr int headerBytes = 8;
/// The type of the colours of 128 x 128 pixels alone has four unused bytes before them.
constexpr int leadingBytes = 4;
/// Several times what the seven sizes need without compression.
constexpr qsizetype maximumBytes = 32 * 1024 * 1024;
/// Some times the number of types there are.
constexpr qsizetype maximumChunks = 256;

struct Element {
    const char *type;
    int side;
    const char *mask; ///< the type of the alpha channel where `type` holds packed colours; null where it is a PNG
};

// The first element of a size is the one that is written. PNGs of 16, 32 and 64 pixels have types of their own
// ("icp4" to "icp6"), but an application whose icon has them is shown a damaged one, and icns2png knows neither
// these nor "ic07". The older packed types are read everywhere. Of 64 pixels there is none, so that size is written
// as 32 points at the double scale. Pillow and the toolkit's plugin read all seven then, icns2png all but 64.
constexpr std::array elements{
    Element{"is32", 16, "s8mk"},    Element{"il32", 32, "l8mk"},   Element{"ic12", 64, nullptr},
    Element{"it32", 128, "t8mk"},   Element{"ic08", 256, nullptr}, Element{"ic09", 512, nullptr},
    Element{"ic10", 1024, nullptr}, Element{"icp4", 16, nullptr},  Element{"icp5", 32, nullptr},
    Element{"icp6", 64, nullptr},   Element{"ic07", 128, nullptr}, Element{"ic11", 32, nullptr},
    Element{"ic13", 256, nullptr},  Element{"ic14", 512, nullptr},
};

template<class Predicate>
const Element *find(Predicate matches)
{
    const auto *const it = std::find_if(elements.begin(), elements.end(), matches);
    return it == elements.end() ? nullptr : it;
}

bool hasLeadingBytes(const Element &element)
{
    return element.side == 128;
}

bool isPng(QByteArrayView data, int side)
{
    constexpr QByteArrayView start("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    if (data.size() < start.size() + 8 || !data.startsWith(start))
        return false;
    return qFromBigEndian<quint32>(data.data() + 16) == quint32(side) &&
           qFromBigEndian<quint32>(data.data() + 20) == quint32(side);
}

void append(QByteArray &file, const char *type, QByteArrayView data)
{
    std::array<char, 4> length{};
    qToBigEndian(quint32(headerBytes + data.size()), length.data());
    file.append(type, 4).append(length.data(), 4).append(data);
}

/// Runs: up to 127 and then so many bytes and one more as they are, from 128 so many less 125 times the next byte.
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

/// Takes one plane of so many bytes off the front of `packed`; absent when the data is damaged.
std::optional<QByteArray> unpack(QByteArrayView &packed, qsizetype size)
{
    QByteArray plane;
    plane.reserve(size);
    while (plane.size() < size) {
        if (packed.size() < 2)
            return {};
        const int lead = uchar(packed.front());
        const qsizetype count = lead < 128 ? lead + 1 : lead - 125;
        const qsizetype used = lead < 128 ? count : 1;
        if (count > size - plane.size() || used > packed.size() - 1)
            return {};
        if (lead < 128)
            plane.append(packed.sliced(1, count));
        else
            plane.append(count, packed[1]);
        packed = packed.sliced(1 + used);
    }
    return plane;
}

/// The planes red, green, blue and alpha.
std::optional<std::array<QByteArray, 4>> planes(const IconFileImage &image)
{
    const QImage pixels = QImage::fromData(image.png, "PNG").convertToFormat(QImage::Format_RGBA8888);
    if (pixels.size() != QSize(image.side, image.side))
        return {};
    std::array<QByteArray, 4> result;
    for (int channel = 0; channel < 4; ++channel) {
        result[channel].reserve(qsizetype(image.side) * image.side);
        for (int y = 0; y < image.side; ++y)
            for (int x = 0; x < image.side; ++x)
                result[channel].append(char(pixels.constScanLine(y)[4 * x + channel]));
    }
    return result;
}

QByteArray png(const QByteArray &packed, const QByteArray &mask, const Element &element)
{
    const qsizetype count = qsizetype(element.side) * element.side;
    QByteArrayView rest = packed;
    if (hasLeadingBytes(element))
        rest = rest.sliced(std::min<qsizetype>(leadingBytes, rest.size()));
    const auto red = unpack(rest, count);
    const auto green = red ? unpack(rest, count) : red;
    const auto blue = green ? unpack(rest, count) : green;
    if (!blue || mask.size() != count)
        return {};
    QImage image(element.side, element.side, QImage::Format_ARGB32);
    for (int y = 0; y < element.side; ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < element.side; ++x) {
            const qsizetype i = qsizetype(y) * element.side + x;
            line[x] = qRgba(uchar((*red)[i]), uchar((*green)[i]), uchar((*blue)[i]), uchar(mask[i]));
        }
    }
    QByteArray data;
    QBuffer buffer(&data);
    return image.save(&buffer, "PNG") ? data : QByteArray();
}

} // namespace

QByteArray encodeIconFile(const QList<IconFileImage> &images)
{
    QByteArray body;
    for (const IconFileImage &image : images) {
        const Element *element = find([&](const Element &e) { return e.side == image.side; });
        if (!element || !isPng(image.png, image.side))
            continue;
        if (!element->mask) {
            append(body, element->type, image.png);
            continue;
        }
        const auto channels = planes(image);
        if (!channels)
            continue;
        QByteArray packed;
        if (hasLeadingBytes(*element))
            packed.append(leadingBytes, '\0');
        for (int channel = 0; channel < 3; ++channel)
            pack(packed, (*channels)[channel]);
        append(body, element->type, packed);
        append(body, element->mask, (*channels)[3]);
    }
    QByteArray file;
    file.reserve(headerBytes + body.size());
    append(file, "icns", body);
    return file;
}

Result<QList<IconFileImage>> decodeIconFile(const QByteArray &file)
{
    const Error damaged{QStringLiteral("This is no icon file, or it is damaged.")};
    if (file.size() < headerBytes || file.size() > maximumBytes || !file.startsWith("icns") ||
        qFromBigEndian<quint32>(file.constData() + 4) != quint32(file.size()))
        return damaged;

    struct Chunk {
        QByteArrayView type;
        QByteArrayView data;
    };
    QList<Chunk> chunks;
    for (QByteArrayView rest = QByteArrayView(file).sliced(headerBytes); !rest.isEmpty();) {
        if (rest.size() < headerBytes)
            return damaged;
        const qsizetype length = qFromBigEndian<quint32>(rest.data() + 4);
        if (length < headerBytes || length > rest.size() || chunks.size() == maximumChunks)
            return damaged;
        chunks.append({rest.first(4), rest.sliced(headerBytes, length - headerBytes)});
        rest = rest.sliced(length);
    }

    QList<IconFileImage> images;
    for (const Chunk &chunk : std::as_const(chunks)) {
        const Element *element = find([&](const Element &e) { return chunk.type == QByteArrayView(e.type); });
        if (!element ||
            std::any_of(images.cbegin(), images.cend(), [&](const auto &i) { return i.side == element->side; }))
            continue;
        QByteArray data;
        if (isPng(chunk.data, element->side)) {
            data = chunk.data.toByteArray();
        } else if (element->mask) {
            const auto mask = std::find_if(chunks.cbegin(), chunks.cend(),
                                           [&](const Chunk &c) { return c.type == QByteArrayView(element->mask); });
            if (mask != chunks.cend())
                data = png(chunk.data.toByteArray(), mask->data.toByteArray(), *element);
        }
        if (!data.isEmpty())
            images.append({element->side, data});
    }
    return images;
}

} // namespace cobblet
