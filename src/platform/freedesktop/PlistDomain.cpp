#include "platform/freedesktop/PlistDomain.h"

#include <QtEndian>

#include <algorithm>
#include <bit>
#include <vector>

// The format: "bplist00", the objects, a table of their offsets, and a trailer of 32 bytes that says where the
// table is. An object begins with a byte of its kind and a count or width; 0xF means that an integer with the
// count follows. All numbers are big-endian.
namespace cobblet {

namespace {

constexpr quint64 maximumObjects = 100'000;
constexpr quint64 trailerSize = 32;
const QByteArray magic = QByteArrayLiteral("bplist00");

enum Kind : uchar {
    False = 0x08,
    True = 0x09,
    Integer = 0x10,
    Real = 0x20,
    Data = 0x40,
    Ascii = 0x50,
    Utf16 = 0x60,
    Dictionary = 0xD0,
};

class Reader {
public:
    explicit Reader(const QByteArray &bytes)
        : m_bytes(bytes), m_data(reinterpret_cast<const uchar *>(bytes.constData()))
    {
    }

    std::optional<QMap<QString, QVariant>> dictionary()
    {
        const auto size = quint64(m_bytes.size());
        if (size < quint64(magic.size()) + 1 + trailerSize || !m_bytes.startsWith(magic))
            return std::nullopt;
        const uchar *trailer = m_data + size - trailerSize;
        m_offsetSize = trailer[6];
        const unsigned referenceSize = trailer[7];
        m_objects = qFromBigEndian<quint64>(trailer + 8);
        const auto top = qFromBigEndian<quint64>(trailer + 16);
        m_end = qFromBigEndian<quint64>(trailer + 24); // the objects end where the table begins
        if (m_offsetSize < 1 || m_offsetSize > 8 || referenceSize < 1 || referenceSize > 8 ||
            m_objects > maximumObjects || m_end > size - trailerSize ||
            m_objects * m_offsetSize > size - trailerSize - m_end)
            return std::nullopt;

        const auto head = object(top);
        if (!head || head->kind != Dictionary || head->count > maximumObjects ||
            head->count * 2 * referenceSize > m_end - head->at)
            return std::nullopt;
        QMap<QString, QVariant> values;
        quint64 unfolded = 0;
        for (quint64 i = 0; i < head->count; ++i) {
            const quint64 keyAt = head->at + i * referenceSize;
            const auto key = value(number(keyAt, referenceSize));
            const auto read = value(number(keyAt + head->count * referenceSize, referenceSize));
            // Many references to one long value would take far more memory than the file.
            if (!key || key->typeId() != QMetaType::QString || !read)
                return std::nullopt;
            unfolded += bytesOf(*key) + bytesOf(*read);
            if (unfolded > 4 * size)
                return std::nullopt;
            values.insert(key->toString(), *read);
        }
        return values;
    }

private:
    static quint64 bytesOf(const QVariant &value)
    {
        if (value.typeId() == QMetaType::QString)
            return quint64(value.toString().size()) * 2;
        return value.typeId() == QMetaType::QByteArray ? quint64(value.toByteArray().size()) : 0;
    }

    struct Object {
        uchar kind;
        quint64 count; ///< of units or entries; the width of a number
        quint64 at;    ///< behind the head
    };

    quint64 number(quint64 at, unsigned bytes) const
    {
        quint64 result = 0;
        for (unsigned i = 0; i < bytes; ++i)
            result = result << 8 | m_data[at + i];
        return result;
    }

    std::optional<Object> object(quint64 index) const
    {
        if (index >= m_objects)
            return std::nullopt;
        quint64 at = number(m_end + index * m_offsetSize, m_offsetSize);
        if (at < quint64(magic.size()) || at >= m_end)
            return std::nullopt;
        const uchar marker = m_data[at++];
        const uchar kind = marker & 0xF0;
        quint64 count = marker & 0x0F;
        if (kind == 0)
            return Object{marker, 0, at};
        if (kind == Integer || kind == Real)
            return Object{kind, count > 4 ? m_end : quint64(1) << count, at};
        if (count == 0xF) {
            if (at >= m_end || (m_data[at] & 0xF0) != Integer || (m_data[at] & 0x0F) > 3)
                return std::nullopt;
            const unsigned width = 1u << (m_data[at++] & 0x0F);
            if (width > m_end - at)
                return std::nullopt;
            count = number(at, width);
            at += width;
        }
        return Object{kind, count, at};
    }

    std::optional<QVariant> value(quint64 index) const
    {
        const auto found = object(index);
        if (!found)
            return std::nullopt;
        const auto &[kind, count, at] = *found;
        const quint64 unit = kind == Utf16 ? 2 : 1;
        if (count > (m_end - at) / unit)
            return std::nullopt;
        switch (kind) {
        case False:
        case True:
            return QVariant(kind == True);
        case Integer: // only those of 8 bytes have a sign
            return count <= 8 ? std::optional(QVariant(qint64(number(at, unsigned(count))))) : std::nullopt;
        case Real:
            if (count == 8)
                return QVariant(std::bit_cast<double>(number(at, 8)));
            return count == 4 ? std::optional(QVariant(double(std::bit_cast<float>(quint32(number(at, 4))))))
                              : std::nullopt;
        case Data:
            return QVariant(m_bytes.mid(qsizetype(at), qsizetype(count)));
        case Ascii:
            return QVariant(QString::fromLatin1(m_bytes.constData() + at, qsizetype(count)));
        case Utf16: {
            QString text(qsizetype(count), Qt::Uninitialized);
            qFromBigEndian<char16_t>(m_data + at, qsizetype(count), text.data());
            return QVariant(text);
        }
        default:
            return std::nullopt;
        }
    }

    const QByteArray &m_bytes;
    const uchar *m_data;
    quint64 m_objects = 0;
    quint64 m_end = 0;
    unsigned m_offsetSize = 1;
};

class Writer {
public:
    explicit Writer(const QMap<QString, QVariant> &values) : m_values(values) {}

    QByteArray write()
    {
        const auto count = quint64(m_values.size());
        const quint64 objects = 1 + 2 * count;
        const unsigned referenceSize = widthOf(objects);
        qsizetype expected = 4096 + m_values.size() * 64;
        for (const QVariant &value : m_values)
            expected += value.typeId() == QMetaType::QByteArray ? value.toByteArray().size() : 0;
        m_out.reserve(expected);
        m_out = magic;

        begin();
        head(Dictionary, count);
        for (quint64 reference = 1; reference < objects; ++reference)
            number(reference, referenceSize);
        for (auto it = m_values.cbegin(); it != m_values.cend(); ++it)
            object(it.key());
        for (const QVariant &value : m_values)
            object(value);

        const auto table = quint64(m_out.size());
        const unsigned offsetSize = widthOf(table);
        for (const quint64 offset : m_offsets)
            number(offset, offsetSize);
        m_out.append(6, '\0').append(char(offsetSize)).append(char(referenceSize));
        for (const quint64 field : {objects, quint64(0), table})
            number(field, 8);
        return m_out;
    }

private:
    static unsigned widthOf(quint64 value)
    {
        return value <= 0xFF ? 1 : value <= 0xFFFF ? 2 : value <= 0xFFFFFFFF ? 4 : 8;
    }

    void begin() { m_offsets.push_back(quint64(m_out.size())); }

    void number(quint64 value, unsigned bytes)
    {
        for (unsigned i = bytes; i-- > 0;)
            m_out.append(char(value >> (8 * i)));
    }

    void integer(quint64 value)
    {
        const unsigned width = widthOf(value);
        m_out.append(char(Integer | std::countr_zero(width)));
        number(value, width);
    }

    void head(Kind kind, quint64 count)
    {
        m_out.append(char(kind | (count < 0xF ? count : 0xF)));
        if (count >= 0xF)
            integer(count);
    }

    void object(const QVariant &value)
    {
        begin();
        switch (value.typeId()) {
        case QMetaType::Bool:
            m_out.append(char(value.toBool() ? True : False));
            break;
        case QMetaType::LongLong:
            integer(quint64(value.toLongLong()));
            break;
        case QMetaType::Double:
            m_out.append(char(Real | 3));
            number(std::bit_cast<quint64>(value.toDouble()), 8);
            break;
        case QMetaType::QString: {
            const QString text = value.toString();
            const bool isAscii = std::all_of(text.cbegin(), text.cend(), [](QChar c) { return c.unicode() < 0x80; });
            head(isAscii ? Ascii : Utf16, quint64(text.size()));
            for (const QChar c : text)
                number(c.unicode(), isAscii ? 1 : 2);
            break;
        }
        default: {
            const QByteArray bytes = value.toByteArray();
            head(Data, quint64(bytes.size()));
            m_out.append(bytes);
        }
        }
    }

    const QMap<QString, QVariant> &m_values;
    QByteArray m_out;
    std::vector<quint64> m_offsets;
};

} // namespace

Result<PlistDomain> PlistDomain::decode(const QByteArray &bytes)
{
    auto values = Reader(bytes).dictionary();
    if (!values)
        return Error{QStringLiteral("It is no property list of plain values.")};
    PlistDomain domain;
    domain.m_values = std::move(*values);
    return domain;
}

QByteArray PlistDomain::encode() const
{
    return Writer(m_values).write();
}

bool PlistDomain::set(const QString &key, const QVariant &value)
{
    QVariant &stored = m_values[key];
    if (stored.metaType() == value.metaType() && stored == value)
        return false;
    stored = value;
    return true;
}

std::optional<QVariant> PlistDomain::normalized(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::LongLong:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return value;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::Short:
    case QMetaType::UShort:
        return QVariant(value.toLongLong());
    case QMetaType::Float:
        return QVariant(value.toDouble());
    default:
        return std::nullopt;
    }
}

} // namespace cobblet
