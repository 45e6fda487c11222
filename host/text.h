#pragma once

#include <nlohmann/json.hpp>

#include <optional>
#include <string>

/// JSON text, and untrusted text made safe for a terminal.
namespace zefhost {

/// Keeps the order in which keys were read.
using Json = nlohmann::ordered_json;

/// The text in valid UTF-8, without anything that a terminal interprets: control characters and
/// marks that change the direction of writing become escapes. Line breaks stay on request.
std::string printable(const std::string &text, bool keepLineBreaks = false);

/// UTF-8 of wide text; an invalid code point becomes U+FFFD.
std::string utf8(const std::wstring &text);

/// Readable JSON over several lines, safe to print.
std::string readable(const Json &value);

/// The text that a JSON text holds, or any other value as readable JSON; safe to print.
std::string textOf(const Json &value);

/// JSON on one line, in ASCII, safe to print and for any reader.
std::string compact(const Json &value);

/// Reads JSON text, nested 1000 deep at most.
/// \param error receives what is wrong when there is no result.
std::optional<Json> parseJson(const std::string &text, std::string &error);

/// Reads JSON text that must be one object.
std::optional<Json> parseObject(const std::string &text, std::string &error);

/// The file's content, or nothing with the system's reason in error.
std::optional<std::string> readFile(const std::string &path, std::string &error);

} // namespace zefhost
