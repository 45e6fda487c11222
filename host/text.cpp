#include "text.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace zefhost {

namespace {

constexpr int kDeepestNesting = 1000;

constexpr auto kReplaceInvalid = Json::error_handler_t::replace;

/// Bytes that are no UTF-8 become U+FFFD: the JSON writer knows how to do that.
std::string validUtf8(const std::string &text)
{
    return Json::parse(Json(text).dump(-1, ' ', false, kReplaceInvalid)).get<std::string>();
}

bool isObeyed(std::uint32_t code)
{
    return code < 0x20 || (code >= 0x7f && code <= 0x9f) || code == 0x061c ||
           (code >= 0x200e && code <= 0x200f) || (code >= 0x2028 && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069) || code == 0xfeff;
}

/// How many bytes the character at a position of valid UTF-8 takes.
std::size_t lengthAt(const std::string &text, std::size_t position)
{
    const auto lead = static_cast<unsigned char>(text[position]);
    return lead < 0x80 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
}

std::uint32_t codeOf(const char *bytes, std::size_t length)
{
    const auto lead = static_cast<unsigned char>(bytes[0]);
    std::uint32_t code = length == 1 ? lead : lead & (0x7fU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        code = (code << 6) | (static_cast<unsigned char>(bytes[i]) & 0x3f);
    }
    return code;
}

} // namespace

std::string printable(const std::string &text, bool keepLineBreaks)
{
    const std::string valid = validUtf8(text);
    std::string out;
    out.reserve(valid.size());
    for (std::size_t position = 0; position < valid.size();) {
        const std::size_t length = lengthAt(valid, position);
        const std::uint32_t code = codeOf(valid.data() + position, length);
        if (isObeyed(code) && !(keepLineBreaks && code == '\n')) {
            char escape[16];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(code));
            out += escape;
        } else {
            out.append(valid, position, length);
        }
        position += length;
    }
    return out;
}

std::string utf8(const std::wstring &text)
{
    static constexpr std::uint32_t kLeads[] = {0, 0xc0, 0xe0, 0xf0};
    std::string out;
    for (const wchar_t character : text) {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): it has 32 bits, none is lost or made up
        const auto code = static_cast<std::uint32_t>(character);
        const int followers = code < 0x80 ? 0 : code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        out += static_cast<char>(kLeads[followers] | (code >> (6 * followers)));
        for (int i = followers - 1; i >= 0; --i) {
            out += static_cast<char>(0x80 | ((code >> (6 * i)) & 0x3f));
        }
    }
    return out;
}

std::string readable(const Json &value)
{
    return printable(value.dump(2, ' ', false, kReplaceInvalid), true);
}

std::string textOf(const Json &value)
{
    return value.is_string() ? printable(value.get<std::string>()) : readable(value);
}

std::string compact(const Json &value)
{
    return value.dump(-1, ' ', true, kReplaceInvalid);
}

std::optional<Json> parseJson(const std::string &text, std::string &error)
{
    const auto limitDepth = [](int depth, Json::parse_event_t /*event*/, Json & /*parsed*/) {
        if (depth > kDeepestNesting) {
            throw std::runtime_error("nested too deep");
        }
        return true;
    };
    try {
        return Json::parse(text, limitDepth);
    } catch (const std::exception &failure) {
        const std::string what = failure.what();
        const std::size_t tag = what.find("] "); // the parser's own name for the error
        error = what[0] == '[' && tag != std::string::npos ? what.substr(tag + 2) : what;
        return std::nullopt;
    }
}

std::optional<Json> parseObject(const std::string &text, std::string &error)
{
    std::optional<Json> value = parseJson(text, error);
    if (value && !value->is_object()) {
        error = std::string("an object {...} is needed, this is a JSON ") + value->type_name();
        return std::nullopt;
    }
    return value;
}

std::optional<std::string> readFile(const std::string &path, std::string &error)
{
    const auto reason = [] { return std::generic_category().message(errno); };
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rbe"),
                                                                &std::fclose);
    if (!file) {
        error = reason();
        return std::nullopt;
    }
    std::string content;
    char buffer[16384];
    while (const std::size_t size = std::fread(buffer, 1, sizeof buffer, file.get())) {
        content.append(buffer, size);
    }
    if (std::ferror(file.get())) {
        error = reason();
        return std::nullopt;
    }
    return content;
}

} // namespace zefhost
