#include "log/logline.h"

#include "json/utf8.h"
#include "log/zelectronlogproxy.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

namespace {

constexpr std::size_t kBlock = 16; ///< bytes that are looked at together
constexpr quint64 kHighBits = Q_UINT64_C(0x8080808080808080);

constexpr wchar_t kReplacement = 0xfffd;

/// A line of up to this many wide characters is built on the stack.
constexpr std::size_t kStackRoom = 2048;

/// A line of up to this many (one megabyte) is built in a block that is kept for the next line.
/// glibc would return a freed block to the system, and faulting it in again costs more than writing
/// the line.
constexpr std::size_t kKeptRoom = 1U << 18U;
std::atomic<wchar_t *> s_keptRoom{nullptr};

class HeapRoom
{
public:
    explicit HeapRoom(std::size_t size) : m_isKept(size <= kKeptRoom)
    {
        m_room.reset(m_isKept ? s_keptRoom.exchange(nullptr) : nullptr);
        if (!m_room) {
            m_room.reset(new (std::nothrow) wchar_t[std::max(size, kKeptRoom)]);
        }
    }
    ~HeapRoom()
    {
        if (m_isKept) {
            m_room.reset(s_keptRoom.exchange(m_room.release()));
        }
    }
    HeapRoom(const HeapRoom &) = delete;
    HeapRoom &operator=(const HeapRoom &) = delete;

    /// Null when there is no memory.
    wchar_t *get() const { return m_room.get(); }

private:
    std::unique_ptr<wchar_t[]> m_room;
    const bool m_isKept;
};

/// Widens the leading ASCII characters of a text and advances next past them. May write beyond the
/// returned place, but no further than the whole text would need.
inline wchar_t *writeAscii(wchar_t *place, const char *&next, const char *end)
{
    while (end - next >= std::ptrdiff_t(kBlock)) {
        // A copy, because compilers vectorise the loop only when source and destination cannot
        // overlap.
        std::array<uchar, kBlock> bytes;
        std::memcpy(bytes.data(), next, kBlock);
        for (std::size_t i = 0; i < kBlock; ++i) {
            place[i] = bytes[i];
        }
        const quint64 low = qFromLittleEndian<quint64>(bytes.data()) & kHighBits;
        const quint64 high = qFromLittleEndian<quint64>(bytes.data() + kBlock / 2) & kHighBits;
        if (low | high) {
            const uint ascii = low ? qCountTrailingZeroBits(low) / 8
                                   : qCountTrailingZeroBits(high) / 8 + uint(kBlock / 2);
            next += ascii;
            return place + ascii;
        }
        next += kBlock;
        place += kBlock;
    }
    while (next != end && uchar(*next) < 0x80) {
        *place++ = uchar(*next++);
    }
    return place;
}

/// Converts directly, with the result of QString::fromUtf8().toStdWString(): an intermediate UTF-16
/// copy would cost more than everything else for a long line.
wchar_t *writeUtf8(wchar_t *place, const char *utf8, std::size_t size)
{
    const char *next = utf8;
    const char *const end = utf8 + size;
    if (size >= 3 && std::memcmp(next, "\xef\xbb\xbf", 3) == 0) {
        next += 3; // Qt drops a byte-order mark at the start, and only there
    }
    for (;;) {
        place = writeAscii(place, next, end);
        if (next == end) {
            return place;
        }
        do {
            uint code = 0;
            const int length = decodeUtf8(next, end, code);
            *place++ = length ? static_cast<wchar_t>(code) : kReplacement;
            next += std::max(length, 1);
        } while (next != end && uchar(*next) >= 0x80);
    }
}

/// Writes "function text" with its NUL, in one pass.
void writeLine(wchar_t *place, QLatin1String function, QLatin1String text,
               std::initializer_list<LogText> values)
{
    place = std::copy(function.begin(), function.end(), place);
    *place++ = L' ';
    for (const char *next = text.begin(); next != text.end(); ++next) {
        const auto index = *next == '%' ? std::size_t(uchar(next[1])) - '1' : values.size();
        if (index < values.size()) {
            place = (values.begin() + index)->writeTo(place);
            ++next;
        } else {
            *place++ = uchar(*next);
        }
    }
    *place = L'\0';
}

void logAt(const wchar_t *level, const char *function, const char *text,
           std::initializer_list<LogText> values)
{
    ZElectronLogProxy *logProxy = g_logProxy;
    if (!logProxy || !logProxy->isWriting()) {
        return;
    }
    auto size = std::strlen(function) + std::strlen(text) + 2;
    for (const LogText &value : values) {
        size += value.maximumSize();
    }
    wchar_t stackRoom[kStackRoom];
    std::optional<HeapRoom> heapRoom;
    if (size > kStackRoom) {
        heapRoom.emplace(size);
    }
    wchar_t *const line = heapRoom ? heapRoom->get() : stackRoom;
    if (!line) {
        return; // an operation that has delivered its reply must not fail for its log line
    }
    writeLine(line, QLatin1String(function), QLatin1String(text), values);
    logProxy->write(level, L"zelectronframework", line);
}

} // namespace

wchar_t *LogText::writeTo(wchar_t *place) const
{
    if (m_text) {
        return place + m_text->toWCharArray(place);
    }
    if (m_utf8) {
        return writeUtf8(place, m_utf8, m_size);
    }
    const std::wstring number = std::to_wstring(m_number);
    return std::copy(number.begin(), number.end(), place);
}

void logInfo(const char *function, const char *text, std::initializer_list<LogText> values)
{
    logAt(L"Info", function, text, values);
}

void logWarning(const char *function, const char *text, std::initializer_list<LogText> values)
{
    logAt(L"Warning", function, text, values);
}

void logError(const char *function, const char *text, std::initializer_list<LogText> values)
{
    logAt(L"Error", function, text, values);
}
