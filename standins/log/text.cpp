#include "text.h"

#include "json/utf8.h"
#include "terminal.h"

#include <cstdint>
#include <cstdio>
#include <utility>

namespace vemolog {

namespace {

constexpr std::size_t kLongestName = 100;
constexpr std::size_t kShortenedName = 80; ///< leaves room for the hash

unsigned codeOf(wchar_t character)
{
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): wchar_t has 32 bits, so nothing is lost
    return static_cast<unsigned>(character);
}

void appendEscape(std::string &out, unsigned code)
{
    for (const auto &[plain, letter] :
         {std::pair('\\', '\\'), {'\n', 'n'}, {'\r', 'r'}, {'\t', 't'}}) {
        if (code == static_cast<unsigned>(plain)) {
            out.append({'\\', letter});
            return;
        }
    }
    char escape[16];
    std::snprintf(escape, sizeof escape, "\\u{%x}", code);
    out += escape;
}

std::string escaped(const std::wstring &text, bool blanksToo)
{
    std::string out;
    out.reserve(text.size());
    for (const wchar_t character : text) {
        const unsigned code = codeOf(character);
        if (isTerminalControl(code) || !isCharacter(code) || code == '\\' ||
            (blanksToo && code == ' ')) {
            appendEscape(out, code);
        } else {
            appendUtf8(out, code);
        }
    }
    return out;
}

std::uint64_t hashOf(const wchar_t *text)
{
    std::uint64_t hash = 0xcbf29ce484222325; // FNV-1a
    for (; *text; ++text) {
        hash = (hash ^ codeOf(*text)) * 0x100000001b3;
    }
    return hash;
}

} // namespace

std::string toUtf8(const wchar_t *text)
{
    std::string out;
    for (; text && *text; ++text) {
        appendUtf8(out, codeOf(*text));
    }
    return out;
}

std::wstring toWide(const std::string &utf8)
{
    std::wstring out;
    const char *const end = utf8.data() + utf8.size();
    for (const char *at = utf8.data(); at != end;) {
        out += static_cast<wchar_t>(takeUtf8(at, end));
    }
    return out;
}

std::string escapedMessage(const std::wstring &text)
{
    return escaped(text, false);
}

std::string escapedField(const std::wstring &text)
{
    return text.empty() ? "-" : escaped(text, true);
}

std::string fileName(const wchar_t *text, const std::string &fallback)
{
    if (!text || !*text) {
        return fallback;
    }
    std::string name;
    std::size_t end = 0; // of the last whole character that a shortened name may keep
    bool changed = false;
    for (const wchar_t *at = text; *at; ++at) {
        const unsigned code = codeOf(*at);
        const bool leading = at == text && (code == '.' || code == '-');
        const bool kept = isCharacter(code) && !isTerminalControl(code) && code != '/' &&
                          code != '\\' && !leading;
        changed = changed || !kept;
        appendUtf8(name, kept ? code : '_');
        end = name.size() <= kShortenedName ? name.size() : end;
    }
    if (!changed && name.size() <= kLongestName) {
        return name;
    }
    char suffix[20];
    std::snprintf(suffix, sizeof suffix, "-%016llx", static_cast<unsigned long long>(hashOf(text)));
    return name.substr(0, end) + suffix;
}

} // namespace vemolog
