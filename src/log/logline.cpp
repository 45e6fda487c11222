#include "log/logline.h"

#include "log/zelectronlogproxy.h"
#include "json/utf8.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

namespace {

/// The bytes that are looked at together; compilers turn this vector arithmetic into SIMD
/// instructions.
constexpr int kBlock = 16;
using Block = signed char __attribute__((vector_size(kBlock)));
using WideBlock = wchar_t __attribute__((vector_size(kBlock * sizeof(wchar_t))));

constexpr wchar_t kReplacement = 0xfffd;

/// Up to so many wide characters a line is built on the stack. A longer one is allocated.
constexpr std::size_t kStackRoom = 1024;

/// Widens the ASCII characters that a text begins with; next ends behind them. What is behind the
/// returned place may be written to, as far as the text would reach.
inline wchar_t *writeAscii(wchar_t *place, const char *&next, const char *end)
{
    while (end - next >= kBlock) {
        Block bytes;
        std::memcpy(&bytes, next, sizeof bytes);
        const auto wide = __builtin_convertvector(bytes, WideBlock);
        std::memcpy(place, &wide, sizeof wide);
        const auto isOther = bytes < 0;
        std::array<quint64, 2> marks;
        std::memcpy(marks.data(), &isOther, sizeof marks);
        if (marks[0] | marks[1]) {
            const quint64 mark = qFromLittleEndian(marks[0] ? marks[0] : marks[1]);
            const int ascii = int(qCountTrailingZeroBits(mark) / 8) + (marks[0] ? 0 : kBlock / 2);
            next += ascii;
            return place + ascii;
        }
        next += kBlock;
        place += kBlock;
    }
    while (next != end && static_cast<signed char>(*next) >= 0) {
        *place++ = static_cast<wchar_t>(*next++);
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
        } while (next != end && static_cast<signed char>(*next) < 0);
    }
}

/// Writes "function text" with its NUL, in one pass.
void writeLine(wchar_t *place, QLatin1String function, QLatin1String text,
               std::initializer_list<LogText> values)
{
    const char *next = function.data();
    place = writeAscii(place, next, function.data() + function.size());
    *place++ = L' ';
    next = text.data();
    const char *const end = next + text.size();
    while (next != end) {
        place = writeAscii(place, next, std::find(next, end, '%'));
        if (next == end) {
            break;
        }
        const auto index = static_cast<std::size_t>(next[1] - '1');
        if (index < values.size()) {
            place = (values.begin() + index)->writeTo(place);
            next += 2;
        } else {
            *place++ = static_cast<wchar_t>(*next++);
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
