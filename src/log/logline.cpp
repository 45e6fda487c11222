#include "log/logline.h"

#include "log/zelectronlogproxy.h"
#include "json/utf8.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace {

constexpr std::size_t kBlock = 16; ///< bytes that are looked at together
constexpr quint64 kHighBits = Q_UINT64_C(0x8080808080808080);

constexpr wchar_t kReplacement = 0xfffd;

/// Up to so many wide characters a line is built on the stack. A longer one is allocated.
constexpr std::size_t kStackRoom = 2048;

/// Widens the ASCII characters that a text begins with; next ends behind them. What is behind the
/// returned place may be written to, as far as the text would reach.
inline wchar_t *writeAscii(wchar_t *place, const char *&next, const char *end)
{
    while (end - next >= std::ptrdiff_t(kBlock)) {
        // A copy, since compilers make SIMD instructions only of what is no alias of the place.
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

/// Straight to wide characters, which are those of QString::fromUtf8().toStdWString(): a copy in
/// UTF-16 between them would cost more than all else of a long line.
wchar_t *writeUtf8(wchar_t *place, const char *utf8, std::size_t size)
{
    const char *next = utf8;
    const char *const end = utf8 + size;
    if (size >= 3 && std::memcmp(next, "\xef\xbb\xbf", 3) == 0) {
        next += 3; // Qt drops a byte-order mark there, and only there
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
        const auto index = *next == '%' ? static_cast<std::size_t>(next[1] - '1') : values.size();
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
    const QLatin1String name(function);
    const QLatin1String form(text);
    auto size = static_cast<std::size_t>(name.size() + form.size() + 2);
    for (const LogText &value : values) {
        size += value.maximumSize();
    }
    wchar_t stackRoom[kStackRoom];
    const std::unique_ptr<wchar_t[]> heapRoom(size > kStackRoom ? new wchar_t[size] : nullptr);
    wchar_t *const line = heapRoom ? heapRoom.get() : stackRoom;
    writeLine(line, name, form, values);
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
