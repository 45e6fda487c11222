#pragma once

#include <QChar>

/// Decodes one character that is not ASCII, of two to four bytes.
///
/// \return its length in bytes; 0 when the bytes are not well-formed UTF-8, which is where Qt puts one
///         U+FFFD for the first of them.
inline int decodeUtf8(const char *at, const char *end, uint &code)
{
    const uint first = uchar(*at);
    const int length = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    // Below 0xc2 are continuations and the overlong forms of two bytes.
    if (first < 0xc2 || first > 0xf4 || end - at < length) {
        return 0;
    }

    code = first & (0x7fu >> length);
    for (int i = 1; i < length; ++i) {
        const uint byte = uchar(at[i]);
        if ((byte & 0xc0) != 0x80) {
            return 0;
        }
        code = code << 6 | (byte & 0x3f);
    }
    const uint smallest = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    const bool isCharacter =
        code >= smallest && code <= QChar::LastValidCodePoint && !QChar::isSurrogate(code);
    return isCharacter ? length : 0;
}
