#include "command/BusMarshalling.h"

#include <cstring>

namespace cobblet {

void BusWriter::align(size_t size)
{
    m_bytes.resize((m_bytes.size() + size - 1) / size * size);
}

void BusWriter::number(unsigned value)
{
    align(4);
    m_bytes.resize(m_bytes.size() + 4);
    setNumber(m_bytes.size() - 4, value);
}

void BusWriter::setNumber(size_t at, unsigned value)
{
    static_assert(sizeof value == 4);
    std::memcpy(m_bytes.data() + at, &value, 4);
}

void BusWriter::bytes(std::string_view bytes)
{
    number(unsigned(bytes.size()));
    m_bytes += bytes;
}

void BusWriter::string(std::string_view text)
{
    bytes(text);
    byte(0);
}

void BusWriter::signature(std::string_view text)
{
    byte(static_cast<unsigned char>(text.size()));
    m_bytes += text;
    byte(0);
}

bool BusReader::align(size_t size)
{
    m_at = (m_at + size - 1) / size * size;
    return m_at <= m_bytes.size();
}

std::optional<unsigned char> BusReader::byte()
{
    if (atEnd())
        return std::nullopt;
    return static_cast<unsigned char>(m_bytes[m_at++]);
}

std::optional<unsigned> BusReader::number()
{
    unsigned value = 0;
    if (!align(4) || m_bytes.size() - m_at < sizeof value) {
        m_at = m_bytes.size();
        return std::nullopt;
    }
    std::memcpy(&value, m_bytes.data() + m_at, sizeof value);
    m_at += sizeof value;
    return value;
}

std::optional<std::string_view> BusReader::text(size_t size)
{
    // With the zero byte that ends it.
    if (m_bytes.size() - m_at <= size) {
        m_at = m_bytes.size();
        return std::nullopt;
    }
    const std::string_view found = m_bytes.substr(m_at, size);
    m_at += size + 1;
    return found;
}

std::optional<std::string_view> BusReader::string()
{
    const auto size = number();
    return size ? text(*size) : std::nullopt;
}

std::optional<std::string_view> BusReader::signature()
{
    const auto size = byte();
    return size ? text(*size) : std::nullopt;
}

} // namespace cobblet
