#include "text.h"

#include <cstdint>
#include <cstdio>

namespace vemolog {

namespace {

constexpr std::uint32_t kReplacement = 0xfffd;
constexpr std::size_t kLongestName = 100;
constexpr std::size_t kShortenedName = 80; ///< leaves room for the hash

std::uint32_t codeOf(wchar_t character)
{
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): it has 32 bits, none is lost or made up
    return static_cast<std::uint32_t>(character);
}

bool isCharacter(std::uint32_t code)
{
    return code < 0xd800 || (code > 0xdfff && code <= 0x10ffff);
}

bool isControl(std::uint32_t code)
{
    return code < 0x20 || (code >= 0x7f && code <= 0x9f);
}

/// Characters that end a line in some viewer or change the order in which it is shown.
bool isLayout(std::uint32_t code)
{
    return code == 0x061c || (code >= 0x200e && code <= 0x200f) ||
           (code >= 0x2028 && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) ||
           code == 0xfeff;
}

void appendUtf8(std::string &out, std::uint32_t code)
{
    const auto byte = [&out](std::uint32_t value) { out += static_cast<char>(value); };
    if (code < 0x80) {
        byte(code);
    } else if (code < 0x800) {
        byte(0xc0 | (code >> 6));
        byte(0x80 | (code & 0x3f));
    } else if (code < 0x10000) {
        byte(0xe0 | (code >> 12));
        byte(0x80 | ((code >> 6) & 0x3f));
        byte(0x80 | (code & 0x3f));
    } else {
        byte(0xf0 | (code >> 18));
        byte(0x80 | ((code >> 12) & 0x3f));
        byte(0x80 | ((code >> 6) & 0x3f));
        byte(0x80 | (code & 0x3f));
    }
}

void appendEscape(std::string &out, std::uint32_t code)
{
    switch (code) {
    case '\\':
        out += "\\\\";
        return;
    case '\n':
        out += "\\n";
        return;
    case '\r':
        out += "\\r";
        return;
    case '\t':
        out += "\\t";
        return;
    default:
        break;
    }
    char escape[16];
    std::snprintf(escape, sizeof escape, "\\u{%x}", static_cast<unsigned>(code));
    out += escape;
}

std::string escaped(const std::wstring &text, bool blanksToo)
{
    std::string out;
    out.reserve(text.size());
    for (const wchar_t character : text) {
        const std::uint32_t code = codeOf(character);
        if (isControl(code) || isLayout(code) || !isCharacter(code) || code == '\\' ||
            (blanksToo && code == ' ')) {
            appendEscape(out, code);
        } else {
            appendUtf8(out, code);
        }
    }
    return out;
}

/// How many bytes follow a leading byte, or -1 when it cannot lead.
int followers(unsigned char lead)
{
    if (lead < 0x80) {
        return 0;
    }
    if (lead >= 0xc2 && lead < 0xe0) {
        return 1;
    }
    if (lead >= 0xe0 && lead < 0xf0) {
        return 2;
    }
    return lead >= 0xf0 && lead < 0xf5 ? 3 : -1;
}

/// Reads the character at the position and moves the position behind it.
std::uint32_t nextCharacter(const std::string &utf8, std::size_t &position)
{
    const auto lead = static_cast<unsigned char>(utf8[position++]);
    const int count = followers(lead);
    if (count <= 0) {
        return count == 0 ? lead : kReplacement;
    }
    std::uint32_t code = lead & (0x3fU >> count);
    std::size_t end = position;
    for (int i = 0; i < count; ++i, ++end) {
        if (end >= utf8.size() || (static_cast<unsigned char>(utf8[end]) & 0xc0) != 0x80) {
            return kReplacement;
        }
        code = (code << 6) | (static_cast<unsigned char>(utf8[end]) & 0x3f);
    }
    const std::uint32_t least = count == 1 ? 0x80 : count == 2 ? 0x800 : 0x10000;
    if (code < least || !isCharacter(code)) {
        return kReplacement;
    }
    position = end;
    return code;
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
        const std::uint32_t code = codeOf(*text);
        appendUtf8(out, isCharacter(code) ? code : kReplacement);
    }
    return out;
}

std::wstring toWide(const std::string &utf8)
{
    std::wstring out;
    for (std::size_t position = 0; position < utf8.size();) {
        out += static_cast<wchar_t>(nextCharacter(utf8, position));
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
        const std::uint32_t code = codeOf(*at);
        const bool leading = at == text && (code == '.' || code == '-');
        const bool kept = isCharacter(code) && !isControl(code) && !isLayout(code) && code != '/' &&
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
