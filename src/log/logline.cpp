#include "log/logline.h"

#include "log/zelectronlogproxy.h"

#include <algorithm>
#include <cstring>

namespace {

using LevelOperation = void (IZElectronLogProxy::*)(const std::wstring &, const std::wstring &);

void appendUtf16(std::wstring &line, const QString &text)
{
    const std::size_t start = line.size();
    line.resize(start + static_cast<std::size_t>(text.size()));
    const int written = text.toWCharArray(&line[start]);
    line.resize(start + static_cast<std::size_t>(written));
}

void appendUtf8(std::wstring &line, const char *utf8, std::size_t size)
{
    const auto *first = reinterpret_cast<const unsigned char *>(utf8);
    const auto *end = first + size;
    const auto *next = std::find_if(first, end, [](unsigned char byte) { return byte >= 0x80; });
    const std::size_t start = line.size();
    line.resize(start + static_cast<std::size_t>(next - first));
    std::copy(first, next, &line[start]);
    if (next != end) {
        appendUtf16(line, QString::fromUtf8(utf8 + (next - first), static_cast<int>(end - next)));
    }
}

std::wstring lineOf(const char *function, const char *text, std::initializer_list<LogText> values)
{
    std::size_t size = std::strlen(function) + 1 + std::strlen(text);
    for (const LogText &value : values) {
        size += value.maximumSize();
    }

    std::wstring line;
    line.reserve(size);
    line.append(function, function + std::strlen(function));
    line += L' ';
    for (const char *next = text; *next; ++next) {
        const auto place = static_cast<std::size_t>(next[0] == '%' ? next[1] - '1' : 9);
        if (place < values.size()) {
            (values.begin() + place)->appendTo(line);
            ++next;
        } else {
            line += static_cast<wchar_t>(*next);
        }
    }
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

void LogText::appendTo(std::wstring &line) const
{
    if (m_text) {
        appendUtf16(line, *m_text);
    } else if (m_utf8) {
        appendUtf8(line, m_utf8, m_size);
    } else {
        line += std::to_wstring(m_number);
    }
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
