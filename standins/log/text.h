#pragma once

#include <string>

/// Wide text of the callers, turned into UTF-8 that is safe in a file and as a file name.
namespace vemolog {

/// UTF-8 of the text; what is no Unicode character becomes U+FFFD. Null counts as empty.
std::string toUtf8(const wchar_t *text);

/// The reverse; bytes that are no UTF-8 become U+FFFD.
std::wstring toWide(const std::string &utf8);

/// UTF-8 in which nothing can end or rearrange a line: control characters, line and paragraph
/// separators, direction marks and backslashes are written as escapes.
std::string escapedMessage(const std::wstring &text);

/// As escapedMessage, for a field between blanks: blanks are escaped too, empty text is "-".
std::string escapedField(const std::wstring &text);

/// A name that is one component of a path and nothing else: no separator, no leading "." or "-",
/// at most 100 bytes. A name that had to be changed ends in a hash of the whole original, so that
/// two different names keep two different files. Empty text gives the fallback.
std::string fileName(const wchar_t *text, const std::string &fallback);

} // namespace vemolog
