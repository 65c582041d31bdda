#include "platform/freedesktop/PlistDomain.h"

#include <QtEndian>

#include <plist/plist.h>

#include <cstdlib>

namespace cobblet {

namespace {

constexpr qint64 maximumObjects = 100'000;
constexpr qint64 maximumUnfolded = 128 * 1024 * 1024;
constexpr qint64 trailerSize = 32;

/// Looks through a binary property list before the library sees it: the library copies a value once for every
/// reference to it and descends into nested containers by recursion, so that a small file could ask for more
/// memory or stack than there is.
class FlatCheck {
public:
    explicit FlatCheck(const QByteArray &bytes) : m_bytes(bytes), m_data(reinterpret_cast<const uchar *>(bytes.constData())) {}

    bool passes()
    {
        const qint64 size = m_bytes.size();
        if (size < 8 + 1 + trailerSize || !m_bytes.startsWith("bplist00"))
            return false;
        const uchar *trailer = m_data + size - trailerSize;
        m_offsetSize = trailer[6];
        const int referenceSize = trailer[7];
        const auto objects = qFromBigEndian<quint64>(trailer + 8);
        const auto top = qFromBigEndian<quint64>(trailer + 16);
        const auto table = qFromBigEndian<quint64>(trailer + 24);
        if (m_offsetSize < 1 || m_offsetSize > 8 || referenceSize < 1 || referenceSize > 8 || objects == 0
            || objects > quint64(maximumObjects) || top >= objects || table < 9 || table > quint64(size - trailerSize)
            || objects * quint64(m_offsetSize) > quint64(size - trailerSize) - table)
            return false;
        m_table = qint64(table);
        for (quint64 i = 0; i < objects; ++i)
            if (i != top && !payload(i))
                return false;
        return dictionaryPasses(top, referenceSize, objects);
    }

private:
    quint64 number(qint64 at, int bytes) const
    {
        quint64 value = 0;
        for (int i = 0; i < bytes; ++i)
            value = value << 8 | m_data[at + i];
        return value;
    }

    std::optional<qint64> offset(quint64 object) const
    {
        const quint64 at = number(m_table + qint64(object) * m_offsetSize, m_offsetSize);
        if (at < 8 || at >= quint64(m_table))
            return std::nullopt;
        return qint64(at);
    }

    /// The count of an object whose marker is at `at`, which moves behind it.
    std::optional<quint64> count(qint64 &at) const
    {
        const int nibble = m_data[at++] & 0xF;
        if (nibble != 0xF)
            return quint64(nibble);
        if (at >= m_table || (m_data[at] & 0xF0) != 0x10 || (m_data[at] & 0xF) > 3)
            return std::nullopt;
        const int width = 1 << (m_data[at++] & 0xF);
        if (at + width > m_table)
            return std::nullopt;
        const quint64 value = number(at, width);
        at += width;
        return value;
    }

    /// The bytes a scalar takes; absent for anything else and for one that reaches past the objects.
    std::optional<qint64> payload(quint64 object) const
    {
        auto at = offset(object);
        if (!at)
            return std::nullopt;
        const int marker = m_data[*at];
        quint64 size = 0;
        switch (marker & 0xF0) {
        case 0x00:
            return marker == 0x08 || marker == 0x09 ? std::optional<qint64>(0) : std::nullopt;
        case 0x10:
        case 0x20:
        case 0x30:
            if ((marker & 0xF) > 4)
                return std::nullopt;
            size = quint64(1) << (marker & 0xF);
            ++*at;
            break;
        case 0x40:
        case 0x50:
        case 0x60: {
            const auto units = count(*at);
            const int width = (marker & 0xF0) == 0x60 ? 2 : 1;
            if (!units || *units > quint64((m_table - *at) / width))
                return std::nullopt;
            size = *units * quint64(width);
            if ((marker & 0xF0) != 0x40 && !isText(*at, qint64(*units), width))
                return std::nullopt;
            break;
        }
        default:
            return std::nullopt;
        }
        return size <= quint64(m_table - *at) ? std::optional<qint64>(qint64(size)) : std::nullopt;
    }

    /// A null character ends a string early for the library, and ends the process when the string is a key.
    bool isText(qint64 at, qint64 units, int width) const
    {
        for (qint64 i = 0; i < units; ++i)
            if (number(at + i * width, width) == 0)
                return false;
        return true;
    }

    bool dictionaryPasses(quint64 top, int referenceSize, quint64 objects) const
    {
        auto at = offset(top);
        if (!at || (m_data[*at] & 0xF0) != 0xD0)
            return false;
        const auto entries = count(*at);
        if (!entries || *entries > quint64(maximumObjects)
            || *entries * 2 * quint64(referenceSize) > quint64(m_table - *at))
            return false;
        qint64 unfolded = 0;
        for (quint64 i = 0; i < *entries * 2; ++i) {
            const quint64 object = number(*at + qint64(i) * referenceSize, referenceSize);
            if (object >= objects || object == top)
                return false;
            const bool isKey = i < *entries;
            const int kind = m_data[*offset(object)] & 0xF0;
            unfolded += *payload(object);
            if ((isKey && kind != 0x50 && kind != 0x60) || unfolded > maximumUnfolded)
                return false;
        }
        return true;
    }

    const QByteArray &m_bytes;
    const uchar *m_data;
    qint64 m_table = 0;
    int m_offsetSize = 1;
};

std::optional<QVariant> fromNode(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return QVariant(flag != 0);
    }
    case PLIST_UINT: { // signed values come back as their two's complement
        uint64_t number = 0;
        plist_get_uint_val(node, &number);
        return QVariant(qint64(number));
    }
    case PLIST_REAL: {
        double real = 0;
        plist_get_real_val(node, &real);
        return QVariant(real);
    }
    case PLIST_STRING: {
        uint64_t length = 0;
        const char *text = plist_get_string_ptr(node, &length);
        return QVariant(QString::fromUtf8(text, qsizetype(length)));
    }
    case PLIST_DATA: {
        uint64_t length = 0;
        const char *bytes = plist_get_data_ptr(node, &length);
        return QVariant(QByteArray(bytes, qsizetype(length)));
    }
    default:
        return std::nullopt;
    }
}

plist_t toNode(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
        return plist_new_bool(value.toBool());
    case QMetaType::LongLong:
        return plist_new_uint(uint64_t(value.toLongLong()));
    case QMetaType::Double:
        return plist_new_real(value.toDouble());
    case QMetaType::QString:
        return plist_new_string(value.toString().toUtf8().constData());
    default: {
        const QByteArray bytes = value.toByteArray();
        return plist_new_data(bytes.constData(), uint64_t(bytes.size()));
    }
    }
}

} // namespace

void PlistDomain::Free::operator()(void *node) const
{
    plist_free(node);
}

PlistDomain::PlistDomain() : m_root(plist_new_dict()) {}

Result<std::shared_ptr<PlistDomain>> PlistDomain::decode(const QByteArray &bytes)
{
    const Error broken{QStringLiteral("It is no property list of plain values.")};
    if (!FlatCheck(bytes).passes())
        return broken;
    plist_t root = nullptr;
    plist_from_memory(bytes.constData(), uint32_t(bytes.size()), &root);
    auto domain = std::make_shared<PlistDomain>();
    domain->m_root.reset(root);
    if (!root || plist_get_node_type(root) != PLIST_DICT)
        return broken;
    return domain;
}

QByteArray PlistDomain::encode() const
{
    char *bytes = nullptr;
    uint32_t length = 0;
    plist_to_bin(m_root.get(), &bytes, &length);
    const QByteArray result(bytes, qsizetype(length));
    plist_to_bin_free(bytes);
    return result;
}

std::optional<QVariant> PlistDomain::value(const QString &key) const
{
    plist_t node = plist_dict_get_item(m_root.get(), key.toUtf8().constData());
    return node ? fromNode(node) : std::nullopt;
}

void PlistDomain::forEach(const std::function<void(const QString &, const QVariant &)> &visit) const
{
    plist_dict_iter rawCursor = nullptr;
    plist_dict_new_iter(m_root.get(), &rawCursor);
    const std::unique_ptr<void, decltype(&std::free)> cursor(rawCursor, &std::free);
    while (true) {
        char *rawKey = nullptr;
        plist_t node = nullptr;
        plist_dict_next_item(m_root.get(), cursor.get(), &rawKey, &node);
        const std::unique_ptr<char, decltype(&std::free)> key(rawKey, &std::free);
        if (!node)
            return;
        if (const auto value = fromNode(node))
            visit(QString::fromUtf8(key.get()), *value);
    }
}

bool PlistDomain::set(const QString &key, const QVariant &value)
{
    if (this->value(key) == value)
        return false;
    plist_dict_set_item(m_root.get(), key.toUtf8().constData(), toNode(value));
    return true;
}

bool PlistDomain::remove(const QString &key)
{
    const QByteArray name = key.toUtf8();
    if (!plist_dict_get_item(m_root.get(), name.constData()))
        return false;
    plist_dict_remove_item(m_root.get(), name.constData());
    return true;
}

std::optional<QVariant> PlistDomain::normalized(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::LongLong:
    case QMetaType::Double:
    case QMetaType::QByteArray:
        return value;
    case QMetaType::QString: // a property list ends a string at a null character
        return value.toString().contains(QChar()) ? std::nullopt : std::optional(value);
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
