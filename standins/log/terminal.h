#pragma once

/// Whether a terminal or a viewer interprets the character instead of showing it: control characters,
/// line and paragraph separators, marks that change the order in which text is shown.
inline bool isTerminalControl(unsigned code)
{
    return code < 0x20 || (code >= 0x7f && code <= 0x9f) || code == 0x061c ||
           (code >= 0x200e && code <= 0x200f) || (code >= 0x2028 && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069) || code == 0xfeff;
}
