#include "json/jsonreader.h"

#include "json/keycache.h"
#include "json/objectshape.h"
#include "json/utf8.h"

#include <QtEndian>

#include <array>
#include <climits>
#include <cmath>
#include <cstring>

namespace {

/// Nesting of objects and arrays; the same limit as Qt's. It also bounds the stack.
constexpr int kDepthLimit = 1024;
constexpr double kLongLongLimit = 9223372036854775808.0; // 2^63
/// Any number with this many digits fits a qlonglong.
constexpr int kSafeDigits = 18;

/// The character that a backslash and a letter stand for; most letters stand for themselves.
constexpr std::array<char, 128> makeEscapedCharacters()
{
    std::array<char, 128> characters{};
    for (std::size_t letter = 0; letter < characters.size(); ++letter) {
        characters[letter] = char(letter);
    }
    characters['b'] = '\b';
    characters['f'] = '\f';
    characters['n'] = '\n';
    characters['r'] = '\r';
    characters['t'] = '\t';
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

/// Reads one document with the grammar of Qt's parser, including what it tolerates: control
/// characters in strings, and a backslash before any character. After a false result the position
/// and the values are meaningless; the caller drops them.
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
    bool knownMembers(const ObjectShape &shape, QVariantMap &map, int &count);
    bool isNext(const ObjectShape &shape, std::size_t index);
    bool member(QVariantMap &map, ObjectShapeLearner &learner);
    bool array(QVariantList &list);
    bool number(QVariant &value);
    bool unusualNumber(const char *start, bool isWhole, QVariant &value) const;
    bool string(QString &string);
    bool key(QString &key);
    bool markedString(const char *start, QString &string);
    bool escape(ushort *&out);
    bool multiByte(ushort *&out);
    template <bool StopsAtNonAscii>
    const char *runEnd(const char *at) const;

    const char *m_at;
    const char *const m_end;
    int m_depth = 0;
    KeyCache *m_keyCache = nullptr;
    QString m_key;            // of the member that was read last
    ObjectShapeSlot m_noSlot; // while the thread ends
};

/// The caller has skipped white space, and the text has not ended.
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

inline bool Reader::member(QVariantMap &map, ObjectShapeLearner &learner)
{
    if (!token('"') || !key(m_key) || !token(':') || !skipSpace()) {
        return false;
    }
    learner.add(m_key);
    // Read in place: inserting replaces the value of an earlier member with this key. The hint
    // avoids the search when members come in the order of their keys, as many writers sort them.
    return value(*map.insert(map.constEnd(), m_key, QVariant()));
}

bool Reader::object(QVariantMap &map)
{
    if (token('}')) {
        return true;
    }
    if (!skipSpace()) {
        return false;
    }
    if (!m_keyCache) {
        m_keyCache = KeyCache::ofThread();
    }
    ObjectShapeSlot &slot = m_keyCache ? m_keyCache->shapeSlot(m_at, m_end - m_at) : m_noSlot;
    const auto shape = slot.shape(); // kept, because an object inside may replace it
    ObjectShapeLearner learner(slot);
    int known = 0;
    if (shape && !knownMembers(*shape, map, known)) {
        return false;
    }
    if (known == 0 && !member(map, learner)) {
        return false;
    }
    while (token(',')) {
        if (!member(map, learner)) {
            return false;
        }
    }
    if (!token('}')) {
        return false;
    }
    if (known == 0) {
        learner.finish();
    } else if (known < shape->map.size() || known < map.size()) {
        slot.forget();
    }
    return true;
}

/// Reads the members that an object has in common with a shape, from the first one on. Stops before
/// the first other one.
bool Reader::knownMembers(const ObjectShape &shape, QVariantMap &map, int &count)
{
    const auto &members = shape.members;
    if (!isNext(shape, 0)) {
        return true;
    }
    map = shape.map;
    std::vector<QVariant *> values;
    values.reserve(members.size());
    for (QVariant &place : map) {
        values.push_back(&place);
    }
    std::size_t at = 0;
    do {
        if (!token(':') || !skipSpace() || !value(*values[std::size_t(members[at].place)])) {
            return false;
        }
        ++at;
    } while (at < members.size() && isNext(shape, at));
    count = int(at);
    for (; at < members.size(); ++at) {
        map.remove(QString::fromStdString(members[at].text).chopped(1));
    }
    return true;
}

/// Moves past the key of that member, and the comma before it, if they come next.
bool Reader::isNext(const ObjectShape &shape, std::size_t index)
{
    const char *const before = m_at;
    const std::string &text = shape.members[index].text;
    if ((index == 0 || token(',')) && token('"') && word(text.data(), int(text.size()))) {
        return true;
    }
    m_at = before;
    return false;
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

/// Leaves it to Qt whether the text is a number, and which: "-", "1." and "1e" get here, too.
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

/// The first quote or backslash or, if asked for, non-ASCII byte. Tests a block at a time; a byte
/// of the mask is 0xff where the text byte matches.
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

/// Begins after the opening quote and ends after the closing one.
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

/// As string().
bool Reader::key(QString &key)
{
    const char *const start = m_at;
    const char *const close = runEnd<true>(start);
    const auto length = close - start;
    if (!m_keyCache || length == 0 || length > KeyCache::kLongestKey || close == m_end ||
        *close != '"') {
        return string(key);
    }
    key = m_keyCache->text(start, int(length));
    m_at = close + 1;
    return true;
}

/// A string with escapes or non-ASCII characters; m_at is at the first of these.
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
    // Qt drops a leading byte-order mark only in strings without escapes, which it decodes as a
    // whole.
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

/// Begins at the backslash, which is not the last character.
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

    // Qt uses a non-ASCII byte as a code point, with the sign that `char` has on the machine. The
    // result is meaningless, but must be the same as Qt's.
    const bool isAscii = uchar(letter) < 0x80;
    const uint code = isAscii ? uchar(kEscapedCharacters[uchar(letter)]) : uint(letter);
    putCode(code, out);
    return true;
}

inline bool Reader::multiByte(ushort *&out)
{
    uint code = 0;
    const int length = decodeUtf8(m_at, m_end, code);
    m_at += length;
    if (length) {
        putCode(code, out);
    }
    return length;
}

} // namespace

QVariantMap mapFromJsonText(const char *text)
{
    const std::size_t length = text ? std::strlen(text) : 0;
    QVariantMap map;
    if (length > INT_MAX || !Reader(text, int(length)).document(map)) {
        map.clear();
    }
    return map;
}
