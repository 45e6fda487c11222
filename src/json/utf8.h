#pragma once

#include <string>

/// \file
/// UTF-8, one character at a time. Plain C++, used by zefhost and the stand-in of the log library too.

/// Whether a number is a Unicode character: surrogates are not.
inline bool isCharacter(unsigned code)
{
    return code < 0xd800 || (code > 0xdfff && code <= 0x10ffff);
}

/// Decodes one character that is not ASCII, of two to four bytes.
///
/// \return its length in bytes; 0 when the bytes are not well-formed UTF-8; Qt then replaces the first
///         of them by U+FFFD.
inline int decodeUtf8(const char *at, const char *end, unsigned &code)
{
    const unsigned first = static_cast<unsigned char>(*at);
    const int length = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    // Below 0xc2 are continuations and the overlong forms of two bytes.
    if (first < 0xc2 || first > 0xf4 || end - at < length) {
        return 0;
    }

    code = first & (0x7fU >> length);
    for (int i = 1; i < length; ++i) {
        const unsigned byte = static_cast<unsigned char>(at[i]);
        if ((byte & 0xc0) != 0x80) {
            return 0;
        }
        code = code << 6 | (byte & 0x3f);
    }
    const unsigned smallest = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    return code >= smallest && isCharacter(code) ? length : 0;
}

/// Encodes one character that is not ASCII, and moves \p out past its two to four bytes.
inline void encodeUtf8(unsigned code, char *&out)
{
    const auto put = [&out](unsigned byte) { *out++ = static_cast<char>(byte); };
    if (code < 0x800) {
        put(0xc0 | code >> 6);
    } else if (code < 0x10000) {
        put(0xe0 | code >> 12);
        put(0x80 | (code >> 6 & 0x3f));
    } else {
        put(0xf0 | code >> 18);
        put(0x80 | (code >> 12 & 0x3f));
        put(0x80 | (code >> 6 & 0x3f));
    }
    put(0x80 | (code & 0x3f));
}

/// Appends any character; what is none becomes U+FFFD.
inline void appendUtf8(std::string &out, unsigned code)
{
    char bytes[4];
    char *end = bytes;
    if (code < 0x80) {
        *end++ = static_cast<char>(code);
    } else {
        encodeUtf8(isCharacter(code) ? code : 0xfffd, end);
    }
    out.append(bytes, end);
}

/// Reads any character and moves \p at past it. A malformed byte counts as U+FFFD.
inline unsigned takeUtf8(const char *&at, const char *end)
{
    unsigned code = static_cast<unsigned char>(*at);
    if (code < 0x80) {
        ++at;
        return code;
    }
    const int length = decodeUtf8(at, end, code);
    at += length ? length : 1;
    return length ? code : 0xfffd;
}
