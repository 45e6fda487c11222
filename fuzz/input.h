#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>

/// Reads the bytes of one input from front to back; at the end everything is 0 and empty.
class Input
{
public:
    Input(const std::uint8_t *data, std::size_t size) : m_next(data), m_end(data + size) {}

    bool isAtEnd() const { return m_next == m_end; }
    std::uint8_t byte() { return isAtEnd() ? 0 : *m_next++; }
    int below(int limit) { return byte() % limit; }

    std::uint32_t number()
    {
        std::uint32_t value = 0;
        for (int i = 0; i < 4; ++i) {
            value = value << 8U | byte();
        }
        return value;
    }

    /// Its length in one byte, then the text.
    std::string text()
    {
        std::string text;
        for (int left = byte(); left > 0 && !isAtEnd(); --left) {
            text += static_cast<char>(byte());
        }
        return text;
    }

    /// What is left.
    std::string rest()
    {
        const std::string text(m_next, m_end);
        m_next = m_end;
        return text;
    }

    /// One entry of a table.
    template <typename Table>
    auto pick(const Table &table)
    {
        return table[byte() % std::size(table)];
    }

private:
    const std::uint8_t *m_next;
    const std::uint8_t *m_end;
};
