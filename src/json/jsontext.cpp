#include "json/jsontext.h"

#include <QJsonDocument>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstring>

namespace {

// Objects and arrays within each other; also what bounds the stack of both directions.
constexpr int kDepthLimit = 1024;
// Up to here every whole number is a double of its own, so that its digits are those Qt writes.
constexpr double kExactWholeNumbers = 9007199254740992.0; // 2^53
constexpr double kLongLongLimit = 9223372036854775808.0;  // 2^63
// Any number of so many digits is a qlonglong.
constexpr int kSafeDigits = 18;

// The letter behind the backslash for each ASCII character that is escaped, else 0.
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

// The character that a letter behind a backslash stands for: most stand for themselves.
constexpr std::array<char, 128> makeEscapedCharacters()
{
    std::array<char, 128> characters{};
    for (std::size_t letter = 0; letter < characters.size(); ++letter) {
        characters[letter] = char(letter);
    }
    for (const char control : {'\b', '\f', '\n', '\r', '\t'}) {
        characters[std::size_t(kEscapeLetters[std::size_t(control)])] = control;
    }
    return characters;
}
constexpr std::array<char, 128> kEscapedCharacters = makeEscapedCharacters();

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    const char lower = char(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

void putCode(uint code, ushort *&out)
{
    if (QChar::requiresSurrogates(code)) {
        *out++ = QChar::highSurrogate(code);
        *out++ = QChar::lowSurrogate(code);
    } else {
        *out++ = ushort(code);
    }
}

// Reads one document with the grammar of Qt's parser, its leniencies included: strings may hold
// control characters, and a backslash may stand before any character. After a false result the
// position and the values are meaningless; the caller drops them all.
class Reader
{
public:
    Reader(const char *text, int length) : m_at(text), m_end(text + length) {}

    bool document(QVariantMap &map)
    {
        if (m_end - m_at > 3) {
            skipByteOrderMark();
        }
        return token('{') && object(map) && !skipSpace();
    }

private:
    void skipByteOrderMark()
    {
        if (m_end - m_at >= 3 && std::memcmp(m_at, "\xef\xbb\xbf", 3) == 0) {
            m_at += 3;
        }
    }

    bool skipSpace()
    {
        while (m_at != m_end && (*m_at == ' ' || *m_at == '\n' || *m_at == '\r' || *m_at == '\t')) {
            ++m_at;
        }
        return m_at != m_end;
    }

    bool token(char expected)
    {
        if (!skipSpace() || *m_at != expected) {
            return false;
        }
        ++m_at;
        return true;
    }

    bool word(const char *text, int length)
    {
        if (m_end - m_at < length || std::memcmp(m_at, text, std::size_t(length)) != 0) {
            return false;
        }
        m_at += length;
        return true;
    }

    void skipDigits()
    {
        while (m_at != m_end && *m_at >= '0' && *m_at <= '9') {
            ++m_at;
        }
    }

    bool value(QVariant &value);
    template <typename Container, bool (Reader::*readContent)(Container &)>
    bool nested(QVariant &value);
    bool object(QVariantMap &map);
    bool array(QVariantList &list);
    bool number(QVariant &value);
    bool unusualNumber(const char *start, bool isWhole, QVariant &value) const;
    bool string(QString &string);
    bool markedString(const char *start, QString &string);
    bool escape(ushort *&out);
    bool multiByte(ushort *&out);
    template <bool StopsAtNonAscii>
    const char *runEnd(const char *at) const;

    const char *m_at;
    const char *const m_end;
    int m_depth = 0;
};

// The caller has skipped the space; something follows.
bool Reader::value(QVariant &value)
{
    QString text;
    switch (*m_at) {
    case '"':
        ++m_at;
        if (!string(text)) {
            return false;
        }
        value = text;
        return true;
    case '{':
        return nested<QVariantMap, &Reader::object>(value);
    case '[':
        return nested<QVariantList, &Reader::array>(value);
    case 't':
        value = true;
        return word("true", 4);
    case 'f':
        value = false;
        return word("false", 5);
    case 'n':
        value = QVariant::fromValue(nullptr);
        return word("null", 4);
    default:
        return number(value);
    }
}

template <typename Container, bool (Reader::*readContent)(Container &)>
bool Reader::nested(QVariant &value)
{
    ++m_at;
    if (m_depth == kDepthLimit - 1) {
        return false;
    }
    ++m_depth;
    Container container;
    if (!(this->*readContent)(container)) {
        return false;
    }
    --m_depth;
    value = container;
    return true;
}

bool Reader::object(QVariantMap &map)
{
    if (token('}')) {
        return true;
    }
    QString key;
    do {
        if (!token('"') || !string(key) || !token(':') || !skipSpace()) {
            return false;
        }
        // Read in place: inserting replaces what an earlier member of this key left. The hint saves
        // the search when members come in the order of their keys, as other writers sort them too.
        if (!value(*map.insert(map.constEnd(), key, QVariant()))) {
            return false;
        }
    } while (token(','));
    return token('}');
}

bool Reader::array(QVariantList &list)
{
    if (token(']')) {
        return true;
    }
    do {
        if (!skipSpace()) {
            return false;
        }
        list.append(QVariant());
        if (!value(list.last())) {
            return false;
        }
    } while (token(','));
    return token(']');
}

bool Reader::number(QVariant &value)
{
    const char *const start = m_at;
    const bool isNegative = *m_at == '-';
    m_at += isNegative;
    const char *const digits = m_at;
    if (m_at != m_end && *m_at == '0') {
        ++m_at;
    } else {
        skipDigits();
    }
    const auto digitCount = m_at - digits;

    bool isWhole = true;
    if (m_at != m_end && *m_at == '.') {
        isWhole = false;
        ++m_at;
        skipDigits();
    }
    if (m_at != m_end && (*m_at == 'e' || *m_at == 'E')) {
        isWhole = false;
        ++m_at;
        if (m_at != m_end && (*m_at == '-' || *m_at == '+')) {
            ++m_at;
        }
        skipDigits();
    }

    if (!isWhole || digitCount == 0 || digitCount > kSafeDigits) {
        return unusualNumber(start, isWhole, value);
    }
    qlonglong number = 0;
    for (const char *digit = digits; digit != m_at; ++digit) {
        number = number * 10 + (*digit - '0');
    }
    value = isNegative ? -number : number;
    return true;
}

// Leaves to Qt what a number is worth and whether it is one: "-", "1." and "1e" come here, too.
bool Reader::unusualNumber(const char *start, bool isWhole, QVariant &value) const
{
    const QByteArray text = QByteArray::fromRawData(start, int(m_at - start));
    bool isOk = false;
    const qlonglong whole = isWhole ? text.toLongLong(&isOk) : 0;
    if (isOk) {
        value = whole;
        return true;
    }
    const double number = text.toDouble(&isOk);
    if (!isOk) {
        return false;
    }
    const bool isLongLong =
        number >= -kLongLongLimit && number < kLongLongLimit && std::trunc(number) == number;
    value = isLongLong ? QVariant(qlonglong(number)) : QVariant(number);
    return true;
}

inline int firstMarked(quint64 marks)
{
    return int(qCountTrailingZeroBits(qFromLittleEndian(marks)) / 8);
}

// The first quote or backslash or, if asked for, non-ASCII byte. A block at a time: a byte of the
// marks is 0xff where it is one.
template <bool StopsAtNonAscii>
const char *Reader::runEnd(const char *at) const
{
    constexpr int kBlock = 16;
    using Block = uchar __attribute__((vector_size(kBlock)));
    for (; m_end - at >= kBlock; at += kBlock) {
        Block bytes;
        std::memcpy(&bytes, at, sizeof bytes);
        auto isMarked = (bytes == '"') | (bytes == '\\');
        if (StopsAtNonAscii) {
            isMarked |= bytes >= 0x80;
        }
        std::array<quint64, 2> marks;
        std::memcpy(marks.data(), &isMarked, sizeof marks);
        if (marks[0]) {
            return at + firstMarked(marks[0]);
        }
        if (marks[1]) {
            return at + kBlock / 2 + firstMarked(marks[1]);
        }
    }
    while (at != m_end && *at != '"' && *at != '\\' && !(StopsAtNonAscii && uchar(*at) >= 0x80)) {
        ++at;
    }
    return at;
}

// Begins behind the opening quote and ends behind the closing one.
bool Reader::string(QString &string)
{
    const char *const start = m_at;
    m_at = runEnd<true>(start);
    if (m_at == m_end) {
        return false;
    }
    if (*m_at != '"') {
        return markedString(start, string);
    }
    string = QString::fromLatin1(start, int(m_at - start));
    ++m_at;
    return true;
}

// A string with escapes or non-ASCII characters, whose first mark m_at has reached.
bool Reader::markedString(const char *start, QString &string)
{
    bool hasEscapes = false;
    const char *close = runEnd<false>(m_at);
    while (close != m_end && *close == '\\') {
        hasEscapes = true;
        if (m_end - close < 2) {
            return false;
        }
        close = runEnd<false>(close + 2);
    }
    if (close == m_end) {
        return false;
    }

    // No character needs more UTF-16 units than bytes.
    string = QString(int(close - start), Qt::Uninitialized);
    auto *const begin = reinterpret_cast<ushort *>(string.data());
    ushort *out = begin;
    // Qt drops a byte-order mark where it decodes a string as a whole, and that is without escapes.
    m_at = start;
    if (!hasEscapes) {
        skipByteOrderMark();
    }
    while (m_at < close) {
        const uchar unit = uchar(*m_at);
        if (unit != '\\' && unit < 0x80) {
            *out++ = unit;
            ++m_at;
        } else if (!(unit == '\\' ? escape(out) : multiByte(out))) {
            return false;
        }
    }
    string.resize(int(out - begin));
    ++m_at;
    return true;
}

// Begins at the backslash; a character follows it.
inline bool Reader::escape(ushort *&out)
{
    const char letter = m_at[1];
    m_at += 2;
    if (letter == 'u') {
        int unit = 0;
        for (int i = 0; i < 4; ++i, ++m_at) {
            const int digit = m_at != m_end ? hexValue(*m_at) : -1;
            if (digit < 0) {
                return false;
            }
            unit = unit << 4 | digit;
        }
        *out++ = ushort(unit);
        return true;
    }

    // Qt takes a byte that is not ASCII for a code point of its value, with the sign that `char`
    // has on the machine: what it makes of one is no character that anybody meant.
    const bool isAscii = uchar(letter) < 0x80;
    const uint code = isAscii ? uchar(kEscapedCharacters[uchar(letter)]) : uint(letter);
    putCode(code, out);
    return true;
}

inline bool Reader::multiByte(ushort *&out)
{
    const uint first = uchar(*m_at);
    const int length = first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    // Below 0xc2 are continuations and the overlong forms of two bytes.
    if (first < 0xc2 || first > 0xf4 || m_end - m_at < length) {
        return false;
    }

    uint code = first & (0x7fu >> length);
    for (int i = 1; i < length; ++i) {
        const uint byte = uchar(m_at[i]);
        if ((byte & 0xc0) != 0x80) {
            return false;
        }
        code = code << 6 | (byte & 0x3f);
    }
    m_at += length;
    const uint smallest = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    if (code < smallest || code > QChar::LastValidCodePoint || QChar::isSurrogate(code)) {
        return false;
    }
    putCode(code, out);
    return true;
}

// The units of a string that are looked at together: compilers make instructions of the machine of
// the arithmetic on vectors.
constexpr int kChunk = 8;
using Chunk = ushort __attribute__((vector_size(kChunk * sizeof(ushort))));
using ByteChunk = uchar __attribute__((vector_size(kChunk)));

inline void putEscaped(ushort unit, char letter, char *&out)
{
    *out++ = '\\';
    *out++ = letter;
    if (Q_LIKELY(letter != 'u')) {
        return;
    }
    for (int shift = 12; shift >= 0; shift -= 4) {
        *out++ = "0123456789abcdef"[unit >> shift & 0xf];
    }
}

inline void putNonAscii(uint code, char *&out)
{
    if (code < 0x800) {
        *out++ = char(0xc0 | code >> 6);
    } else if (code < 0x10000) {
        *out++ = char(0xe0 | code >> 12);
        *out++ = char(0x80 | (code >> 6 & 0x3f));
    } else {
        *out++ = char(0xf0 | code >> 18);
        *out++ = char(0x80 | (code >> 12 & 0x3f));
        *out++ = char(0x80 | (code >> 6 & 0x3f));
    }
    *out++ = char(0x80 | (code & 0x3f));
}

// One character, which may be a surrogate pair, in at most six bytes. Gives where the next begins.
inline const ushort *putCharacter(const ushort *at, const ushort *end, char *&out)
{
    const ushort unit = *at++;
    if (unit < 0x80) {
        if (const char letter = kEscapeLetters[unit]) {
            putEscaped(unit, letter, out);
        } else {
            *out++ = char(unit);
        }
    } else if (!QChar::isSurrogate(unit)) {
        putNonAscii(unit, out);
    } else if (QChar::isHighSurrogate(unit) && at != end && QChar::isLowSurrogate(*at)) {
        putNonAscii(QChar::surrogateToUcs4(unit, *at++), out);
    } else {
        putEscaped(unit, 'u', out);
    }
    return at;
}

// Writes the units as if each were one byte of the text, and again from behind each that is not.
inline const ushort *putChunk(const ushort *at, const ushort *end, char *&out)
{
    Chunk units;
    std::memcpy(&units, at, sizeof units);
    const auto isMarked = (units - 0x20 >= 0x60) | (units == '"') | (units == '\\');
    const ByteChunk narrowUnits = __builtin_convertvector(units, ByteChunk);
    const ByteChunk narrowMarks = __builtin_convertvector(isMarked, ByteChunk);
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
            return putCharacter(at, end, out);
        }
        putEscaped(*at, kEscapeLetters[*at], out);
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

// Appends JSON text. The text's size is the room to write in, length() is what is written: the
// owner of the text cuts it to that in the end.
class Writer
{
public:
    Writer(QByteArray &text, int length) : m_text(text) { moveTo(length); }

    int length() const { return int(m_at - m_begin); }

    void punctuation(char mark)
    {
        makeRoom();
        put(mark);
    }

    void append(const char *text, int length)
    {
        makeRoom(length);
        std::memcpy(m_at, text, std::size_t(length));
        m_at += length;
    }

    void boolean(bool value) { value ? append("true", 4) : append("false", 5); }
    void wholeNumber(qlonglong number);
    void string(const QString &string);
    void bytes(const QByteArray &bytes);

private:
    // A chunk of escapes, and what is about it.
    static constexpr int kRoom = 6 * kChunk + 16;

    void moveTo(int length)
    {
        m_begin = m_text.data();
        m_at = m_begin + length;
        m_limit = m_begin + m_text.size();
    }

    // Room for kRoom bytes more, or for some more than that.
    void makeRoom(int more = 0)
    {
        if (Q_UNLIKELY(m_limit - m_at < kRoom + more)) {
            grow(more);
        }
    }

    void put(int byte) { *m_at++ = char(byte); }
    void grow(int more);

    QByteArray &m_text;
    char *m_begin = nullptr;
    char *m_at = nullptr;
    char *m_limit = nullptr;
};

// By half only: a long text is not the only one of its length at the time.
Q_NEVER_INLINE void Writer::grow(int more)
{
    const int written = length();
    if (written > INT_MAX / 2 - more) {
        qBadAlloc();
    }
    // reserve() takes as much as it is asked for, resize() alone would take the double.
    m_text.reserve(written + written / 2 + 4 * kRoom + more);
    m_text.resize(m_text.capacity());
    moveTo(written);
}

void Writer::wholeNumber(qlonglong number)
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
    append(&digits[first], int(digits.size() - first));
}

void Writer::string(const QString &string)
{
    auto *at = reinterpret_cast<const ushort *>(string.constData());
    const ushort *const end = at + string.size();
    makeRoom(string.size());
    put('"');
    // A variable of its own stays in a register while bytes are stored, m_at would not.
    char *out = m_at;
    while (end - at >= kChunk) {
        if (Q_UNLIKELY(m_limit - out < kRoom)) {
            m_at = out;
            grow(0);
            out = m_at;
        }
        // Text that is not ASCII comes in runs, where looking at a chunk gains nothing.
        at = *at < 0x80 ? putChunk(at, end, out) : putCharacter(at, end, out);
    }
    m_at = out;
    makeRoom();
    out = m_at;
    while (at != end) {
        at = putCharacter(at, end, out);
    }
    *out++ = '"';
    m_at = out;
}

void Writer::bytes(const QByteArray &bytes)
{
    // A size of -1, which no byte array has, would make compilers warn of the strlen() it means.
    const QString text = QString::fromUtf8(bytes.constData(), std::max(bytes.size(), 0));
    if (text.isEmpty()) {
        append("null", 4);
    } else {
        string(text);
    }
}

template <typename T>
const T &held(const QVariant &value)
{
    return *static_cast<const T *>(value.constData());
}

void writeValue(Writer &out, const QVariant &value, int depth);

// What is rare, or whose meaning is left to Qt as well as its form.
void writeThroughQt(Writer &out, const QVariant &value)
{
    const QVariant list = QVariantList{value};
    const QByteArray text = QJsonDocument::fromVariant(list).toJson(QJsonDocument::Compact);
    out.append(text.constData() + 1, text.size() - 2);
}

void writeNumber(Writer &out, const QVariant &value, double number)
{
    // The comparison is false for what is not a number, too.
    if (!(std::abs(number) <= kExactWholeNumbers)) {
        writeThroughQt(out, value);
    } else if (double(qlonglong(number)) == number) {
        out.wholeNumber(qlonglong(number));
    } else {
        const auto text = QByteArray::number(number, 'g', QLocale::FloatingPointShortest);
        out.append(text.constData(), text.size());
    }
}

template <typename List, typename Write>
void writeArray(Writer &out, const List &list, Write writeElement)
{
    char before = '[';
    for (const auto &element : list) {
        out.punctuation(before);
        writeElement(element);
        before = ',';
    }
    if (list.isEmpty()) {
        out.punctuation('[');
    }
    out.punctuation(']');
}

void writeObject(Writer &out, const QVariantMap &map, int depth)
{
    char before = '{';
    const auto end = map.cend();
    for (auto member = map.cbegin(); member != end;) {
        const auto current = member++;
        // A map filled with insertMulti(): the oldest value, which comes last, is the member.
        if (member != end && member.key() == current.key()) {
            continue;
        }
        out.punctuation(before);
        out.string(current.key());
        out.punctuation(':');
        writeValue(out, current.value(), depth);
        before = ',';
    }
    if (map.isEmpty()) {
        out.punctuation('{');
    }
    out.punctuation('}');
}

// \p depth counts the objects and arrays about the value. Below the limit Qt goes on alone.
void writeValue(Writer &out, const QVariant &value, int depth)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        return out.append("null", 4);
    case QMetaType::Bool:
        return out.boolean(held<bool>(value));
    case QMetaType::Int:
        return out.wholeNumber(held<int>(value));
    case QMetaType::UInt:
        return out.wholeNumber(held<uint>(value));
    case QMetaType::LongLong:
        return writeNumber(out, value, double(held<qlonglong>(value)));
    case QMetaType::Double:
        return writeNumber(out, value, held<double>(value));
    case QMetaType::QString:
        return out.string(held<QString>(value));
    case QMetaType::QByteArray:
        return out.bytes(held<QByteArray>(value));
    case QMetaType::QStringList:
        return writeArray(out, held<QStringList>(value),
                          [&out](const QString &element) { out.string(element); });
    case QMetaType::QVariantList:
        if (depth == kDepthLimit) {
            break;
        }
        return writeArray(out, held<QVariantList>(value), [&out, depth](const QVariant &element) {
            writeValue(out, element, depth + 1);
        });
    case QMetaType::QVariantMap:
        if (depth == kDepthLimit) {
            break;
        }
        return writeObject(out, held<QVariantMap>(value), depth + 1);
    default:
        break;
    }
    writeThroughQt(out, value);
}

// Makes the capacity of a text its size, for a Writer; gives the length it had.
int openEnd(QByteArray &text)
{
    const int length = text.size();
    text.resize(text.capacity());
    return length;
}

} // namespace

QVariantMap mapFromJsonText(const char *text)
{
    const std::size_t length = text ? std::strlen(text) : 0;
    return length <= INT_MAX ? mapFromJsonText(text, int(length)) : QVariantMap();
}

QVariantMap mapFromJsonText(const char *text, int length)
{
    QVariantMap map;
    if (!text || !Reader(text, length).document(map)) {
        map.clear();
    }
    return map;
}

QByteArray jsonTextFromMap(const QVariantMap &map)
{
    QByteArray text;
    appendJsonText(text, map);
    return text;
}

void appendJsonText(QByteArray &out, const QVariantMap &map)
{
    const int length = openEnd(out);
    Writer writer(out, length);
    writeObject(writer, map, 1);
    out.resize(writer.length());
}

void appendJsonString(QByteArray &out, const QString &text)
{
    const int length = openEnd(out);
    Writer writer(out, length);
    writer.string(text);
    out.resize(writer.length());
}

template <typename Write>
void JsonObjectText::addMember(QLatin1String key, Write writeValue)
{
    Writer writer(m_text, m_length);
    writer.append(m_length == 0 ? "{\"" : ",\"", 2);
    writer.append(key.data(), key.size());
    writer.append("\":", 2);
    writeValue(writer);
    m_length = writer.length();
}

void JsonObjectText::add(QLatin1String key, const QString &value)
{
    addMember(key, [&value](Writer &writer) { writer.string(value); });
}

void JsonObjectText::add(QLatin1String key, const QByteArray &value)
{
    addMember(key, [&value](Writer &writer) { writer.bytes(value); });
}

void JsonObjectText::add(QLatin1String key, bool value)
{
    addMember(key, [value](Writer &writer) { writer.boolean(value); });
}

void JsonObjectText::add(QLatin1String key, int value)
{
    addMember(key, [value](Writer &writer) { writer.wholeNumber(value); });
}

QString JsonObjectText::take()
{
    Writer writer(m_text, m_length);
    if (m_length == 0) {
        writer.punctuation('{');
    }
    writer.punctuation('}');
    m_length = 0;
    return QString::fromUtf8(m_text.constData(), writer.length());
}
