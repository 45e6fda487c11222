#include "json/jsonwriter.h"

#include "json/jsonvalues.h"
#include "json/utf8.h"

#include <QtEndian>

#include <algorithm>
#include <array>
#include <climits>
#include <utility>

namespace {

/// The letter of the escape for each ASCII character that has one, else 0.
constexpr std::array<char, 128> makeEscapeLetters()
{
    std::array<char, 128> letters{};
    for (std::size_t control = 0; control < 0x20; ++control) {
        letters[control] = 'u';
    }
    letters['\b'] = 'b';
    letters['\f'] = 'f';
    letters['\n'] = 'n';
    letters['\r'] = 'r';
    letters['\t'] = 't';
    letters['"'] = '"';
    letters['\\'] = '\\';
    return letters;
}
constexpr std::array<char, 128> kEscapeLetters = makeEscapeLetters();

using Strings = JsonWriter::Strings;

inline void putEscaped(ushort unit, char letter, Strings strings, char *&out)
{
    *out++ = '\\';
    if (strings == Strings::InString) {
        *out++ = '\\';
        if (letter == '"' || letter == '\\') {
            *out++ = '\\';
        }
    }
    *out++ = letter;
    if (Q_LIKELY(letter != 'u')) {
        return;
    }
    for (int shift = 12; shift >= 0; shift -= 4) {
        *out++ = "0123456789abcdef"[unit >> shift & 0xf];
    }
}

inline void putQuote(Strings strings, char *&out)
{
    if (strings == Strings::InString) {
        *out++ = '\\';
    }
    *out++ = '"';
}

/// Writes one character, possibly a surrogate pair, in at most seven bytes. Returns where the next
/// begins.
inline const ushort *putCharacter(const ushort *at, const ushort *end, Strings strings, char *&out)
{
    const ushort unit = *at++;
    if (unit < 0x80) {
        if (const char letter = kEscapeLetters[unit]) {
            putEscaped(unit, letter, strings, out);
        } else {
            *out++ = char(unit);
        }
    } else if (!QChar::isSurrogate(unit)) {
        encodeUtf8(unit, out);
    } else if (QChar::isHighSurrogate(unit) && at != end && QChar::isLowSurrogate(*at)) {
        encodeUtf8(QChar::surrogateToUcs4(unit, *at++), out);
    } else {
        putEscaped(unit, 'u', strings, out);
    }
    return at;
}

/// As above, from UTF-8. Each malformed byte becomes U+FFFD.
inline const uchar *putCharacter(const uchar *at, const uchar *end, Strings strings, char *&out)
{
    if (*at < 0x80) {
        const ushort unit = *at;
        putCharacter(&unit, &unit + 1, strings, out);
        return at + 1;
    }
    uint code = 0;
    const int length =
        decodeUtf8(reinterpret_cast<const char *>(at), reinterpret_cast<const char *>(end), code);
    encodeUtf8(length ? code : uint(QChar::ReplacementCharacter), out);
    return at + std::max(length, 1);
}

/// The units of a string that are tested together: compilers turn this vector arithmetic into SIMD
/// instructions.
constexpr int kChunk = 8;
using Chunk = ushort __attribute__((vector_size(kChunk * sizeof(ushort))));
using ByteChunk = uchar __attribute__((vector_size(kChunk)));

inline Chunk chunkOf(const ushort *at)
{
    Chunk units;
    std::memcpy(&units, at, sizeof units);
    return units;
}

inline ByteChunk chunkOf(const uchar *at)
{
    ByteChunk units;
    std::memcpy(&units, at, sizeof units);
    return units;
}

/// Writes the units assuming that each is one byte of the text, and resumes after each that is not.
template <typename Unit>
inline const Unit *putChunk(const Unit *at, const Unit *end, Strings strings, char *&out)
{
    const auto units = chunkOf(at);
    const auto isMarked = (units - 0x20 >= 0x60) | (units == '"') | (units == '\\');
    const auto narrowUnits = __builtin_convertvector(units, ByteChunk);
    const auto narrowMarks = __builtin_convertvector(isMarked, ByteChunk);
    quint64 bytes = qFromLittleEndian<quint64>(&narrowUnits);
    quint64 marks = qFromLittleEndian<quint64>(&narrowMarks);

    int left = kChunk;
    while (marks) {
        qToLittleEndian(bytes, out);
        const int plain = int(qCountTrailingZeroBits(marks) / 8);
        out += plain;
        at += plain;
        left -= plain + 1;
        if (*at >= 0x80) {
            return putCharacter(at, end, strings, out);
        }
        putEscaped(*at, kEscapeLetters[*at], strings, out);
        ++at;
        if (left == 0) {
            return at;
        }
        bytes >>= 8 * (plain + 1);
        marks >>= 8 * (plain + 1);
    }
    qToLittleEndian(bytes, out);
    out += left;
    return at + left;
}

} // namespace

void JsonWriter::map(const QVariantMap &map)
{
    writeObject(*this, map, 1);
}

QByteArray JsonWriter::take()
{
    const int written = length();
    QByteArray text = std::exchange(m_heapRoom, {});
    if (text.isEmpty()) {
        text = QByteArray(m_begin, written);
    } else {
        text.resize(written);
    }
    m_begin = m_at = m_stackRoom;
    m_limit = m_stackRoom + sizeof m_stackRoom;
    return text;
}

/// Grows by half, not to the double: other texts of this length may be in memory at the same time.
Q_NEVER_INLINE void JsonWriter::grow(int more)
{
    const int written = length();
    if (written > INT_MAX / 2 - more) {
        qBadAlloc();
    }
    const bool isOnStack = m_heapRoom.isEmpty();
    // reserve() allocates exactly what is asked for; resize() alone would allocate twice as much.
    m_heapRoom.reserve(written + written / 2 + 4 * kRoom + more);
    m_heapRoom.resize(m_heapRoom.capacity());
    if (isOnStack) {
        std::memcpy(m_heapRoom.data(), m_stackRoom, std::size_t(written));
    }
    m_begin = m_heapRoom.data();
    m_at = m_begin + written;
    m_limit = m_begin + m_heapRoom.size();
}

void JsonWriter::wholeNumber(qlonglong number)
{
    std::array<char, 20> digits;
    auto first = digits.size();
    quint64 rest = number < 0 ? 0 - quint64(number) : quint64(number);
    do {
        digits[--first] = char('0' + rest % 10);
        rest /= 10;
    } while (rest);
    if (number < 0) {
        digits[--first] = '-';
    }
    append(QLatin1String(&digits[first], int(digits.size() - first)));
}

template <typename Unit>
inline void JsonWriter::units(const Unit *at, const Unit *end)
{
    makeRoom(int(end - at));
    const Strings strings = m_strings;
    putQuote(strings, m_at);
    // A local variable stays in a register while bytes are stored; m_at would not.
    char *out = m_at;
    while (end - at >= kChunk) {
        if (Q_UNLIKELY(m_limit - out < kRoom)) {
            m_at = out;
            grow(0);
            out = m_at;
        }
        // Non-ASCII characters usually follow each other; testing chunks of them gains nothing.
        at = *at < 0x80 ? putChunk(at, end, strings, out) : putCharacter(at, end, strings, out);
    }
    m_at = out;
    makeRoom();
    out = m_at;
    while (at != end) {
        if (*at < 0x80 && !kEscapeLetters[*at]) {
            *out++ = char(*at++);
        } else {
            at = putCharacter(at, end, strings, out);
        }
    }
    putQuote(strings, out);
    m_at = out;
}

void JsonWriter::string(const QString &string)
{
    const auto *begin = reinterpret_cast<const ushort *>(string.constData());
    units(begin, begin + string.size());
}

void JsonWriter::bytes(const QByteArray &bytes)
{
    // Qt decodes the bytes, which drops a byte-order mark at their head.
    const bool hasMark = bytes.startsWith("\xef\xbb\xbf");
    const auto *begin = reinterpret_cast<const uchar *>(bytes.constData());
    const uchar *const end = begin + bytes.size();
    begin += hasMark ? 3 : 0;
    if (begin == end) {
        append(QLatin1String("null"));
    } else {
        units(begin, end);
    }
}
