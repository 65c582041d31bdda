#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cobblet {

/// Writes values as D-Bus marshals them, in this machine's order of bytes. The positions count from where it starts,
/// which must be a multiple of eight of the message.
class BusWriter {
public:
    void align(size_t size);
    void byte(unsigned char value) { m_bytes += char(value); }
    void number(unsigned value);
    void string(std::string_view text);
    void signature(std::string_view text);
    /// An array of bytes.
    void bytes(std::string_view bytes);
    /// Whatever `write` writes is the content of an array, whose elements align to `alignment`.
    template<typename Write>
    void array(size_t alignment, Write write)
    {
        number(0);
        const size_t at = m_bytes.size() - 4;
        align(alignment);
        const size_t start = m_bytes.size();
        write();
        setNumber(at, unsigned(m_bytes.size() - start));
    }
    void setNumber(size_t at, unsigned value);

    const std::string &written() const { return m_bytes; }

private:
    std::string m_bytes;
};

/// Reads what others marshalled; once something is missing, everything after it is absent too.
class BusReader {
public:
    explicit BusReader(std::string_view bytes) : m_bytes(bytes) {}

    bool align(size_t size);
    std::optional<unsigned char> byte();
    std::optional<unsigned> number();
    std::optional<std::string_view> string();
    std::optional<std::string_view> signature();
    bool atEnd() const { return m_at >= m_bytes.size(); }

private:
    std::optional<std::string_view> text(size_t size);

    std::string_view m_bytes;
    size_t m_at = 0;
};

} // namespace cobblet
