#include "log/logline.h"

#include "log/zelectronlogproxy.h"

#include <algorithm>
#include <cstring>

namespace {

using LevelOperation = void (IZElectronLogProxy::*)(const std::wstring &, const std::wstring &);

wchar_t *writeUtf16(wchar_t *place, const QString &text)
{
    return place + text.toWCharArray(place);
}

/// Writes the ASCII characters that a text begins with; next ends behind them.
wchar_t *writeAscii(wchar_t *place, const char *&next, const char *end)
{
    constexpr int kStep = sizeof(quint64); // this many bytes are looked at together
    for (; end - next >= kStep; next += kStep, place += kStep) {
        quint64 bytes = 0;
        std::memcpy(&bytes, next, kStep);
        if (bytes & Q_UINT64_C(0x8080808080808080)) {
            break;
        }
        for (int i = 0; i < kStep; ++i) {
            place[i] = static_cast<wchar_t>(next[i]);
        }
    }
    while (next != end && static_cast<unsigned char>(*next) < 0x80) {
        *place++ = static_cast<wchar_t>(*next++);
    }
    return place;
}

wchar_t *writeUtf8(wchar_t *place, const char *utf8, std::size_t size)
{
    const char *next = utf8;
    const char *end = utf8 + size;
    place = writeAscii(place, next, end);
    if (next == end) {
        return place;
    }
    return writeUtf16(place, QString::fromUtf8(next, static_cast<int>(end - next)));
}

/// The line is built in one pass, in memory for the longest that it can be.
std::wstring lineOf(const char *function, const char *text, std::initializer_list<LogText> values)
{
    const char *functionEnd = function + std::strlen(function);
    const char *textEnd = text + std::strlen(text);
    auto longest = static_cast<std::size_t>((functionEnd - function) + 1 + (textEnd - text));
    for (const LogText &value : values) {
        longest += value.maximumSize();
    }

    std::wstring line(longest, L'\0');
    wchar_t *place = writeAscii(line.data(), function, functionEnd);
    *place++ = L' ';
    while (text != textEnd) {
        const char *sign = std::find(text, textEnd, '%');
        place = writeAscii(place, text, sign);
        if (text == textEnd) {
            break;
        }
        const auto index = static_cast<std::size_t>(text[1] - '1');
        if (index < values.size()) {
            place = (values.begin() + index)->writeTo(place);
            text += 2;
        } else {
            *place++ = static_cast<wchar_t>(*text++);
        }
    }
    line.resize(static_cast<std::size_t>(place - line.data()));
    return line;
}

void writeLine(LevelOperation operation, const char *function, const char *text,
               std::initializer_list<LogText> values)
{
    ZElectronLogProxy *logProxy = g_logProxy;
    if (!logProxy || !logProxy->isWriting()) {
        return;
    }
    // Never destroyed: library threads may log while the process exits.
    static const std::wstring &module = *new std::wstring(L"zelectronframework");
    (logProxy->*operation)(module, lineOf(function, text, values));
}

} // namespace

wchar_t *LogText::writeTo(wchar_t *place) const
{
    if (m_text) {
        return writeUtf16(place, *m_text);
    }
    if (m_utf8) {
        return writeUtf8(place, m_utf8, m_size);
    }
    const std::wstring number = std::to_wstring(m_number);
    return std::copy(number.begin(), number.end(), place);
}

void logInfo(const char *function, const char *text, std::initializer_list<LogText> values)
{
    writeLine(&IZElectronLogProxy::info, function, text, values);
}

void logWarning(const char *function, const char *text, std::initializer_list<LogText> values)
{
    writeLine(&IZElectronLogProxy::warning, function, text, values);
}

void logError(const char *function, const char *text, std::initializer_list<LogText> values)
{
    writeLine(&IZElectronLogProxy::error, function, text, values);
}
