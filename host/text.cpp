#include "text.h"

#include "../src/json/utf8.h"
#include "../standins/log/terminal.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace zefhost {

namespace {

constexpr int kDeepestNesting = 1000;

constexpr auto kReplaceInvalid = Json::error_handler_t::replace;

} // namespace

std::string printable(const std::string &text, bool keepLineBreaks)
{
    std::string out;
    out.reserve(text.size());
    const char *const end = text.data() + text.size();
    for (const char *at = text.data(); at != end;) {
        const unsigned code = takeUtf8(at, end);
        if (isTerminalControl(code) && !(keepLineBreaks && code == '\n')) {
            char escape[16];
            std::snprintf(escape, sizeof escape, "\\u%04x", code);
            out += escape;
        } else {
            appendUtf8(out, code);
        }
    }
    return out;
}

std::string utf8(const std::wstring &text)
{
    std::string out;
    for (const wchar_t character : text) {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): wchar_t has 32 bits, so nothing is lost
        appendUtf8(out, static_cast<unsigned>(character));
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
