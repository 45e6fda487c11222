// Compares the JSON codec with Qt's: the same maps with the same types from any text, the same
// bytes from any map. The first byte chooses the direction.

#include "json/jsonobjecttexts.h"
#include "json/jsonreader.h"
#include "json/jsonwriter.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrl>
#include <QVariantHash>

#include <sanitizer/lsan_interface.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

QByteArray jsonTextFromMap(const QVariantMap &map)
{
    return JsonWriter(map).take();
}

[[noreturn]] void differ(const char *what, const QByteArray &ours, const QByteArray &qts)
{
    std::fprintf(stderr, "%s\nours: %s\nQt's: %s\n", what, ours.constData(), qts.constData());
    std::abort();
}

// ---- texts ----

bool isSame(const QVariant &one, const QVariant &other);

bool isSameMap(const QVariantMap &one, const QVariantMap &other)
{
    if (one.size() != other.size()) {
        return false;
    }
    for (auto it = one.cbegin(), twin = other.cbegin(); it != one.cend(); ++it, ++twin) {
        if (it.key() != twin.key() || !isSame(it.value(), twin.value())) {
            return false;
        }
    }
    return true;
}

// Types and null strings count, unlike in the comparison of two variants.
bool isSame(const QVariant &one, const QVariant &other)
{
    if (one.userType() != other.userType() || one.isNull() != other.isNull()) {
        return false;
    }
    if (one.userType() == QMetaType::QVariantMap) {
        return isSameMap(one.toMap(), other.toMap());
    }
    if (one.userType() != QMetaType::QVariantList) {
        return one == other;
    }
    const QVariantList elements = one.toList();
    const QVariantList others = other.toList();
    return std::equal(elements.begin(), elements.end(), others.begin(), others.end(), isSame);
}

// Cuts the members that a later one of the same key makes void out of a text that is known to be
// JSON, so that Qt's reading of the rest is what the rule "the last one counts" asks for.
class DuplicateCutter
{
public:
    explicit DuplicateCutter(const QByteArray &text) : m_text(text) {}

    QByteArray cut()
    {
        if (m_text.size() > 3 && m_text.startsWith("\xef\xbb\xbf")) {
            m_at = 3;
        }
        return readValue();
    }

    bool hasDuplicates() const { return m_hasDuplicates; }

    // Qt looks for duplicates with a byte-order mark in front that it drops in the end, and takes
    // a lone surrogate for U+FFFD: it loses members whose keys are none.
    bool isBeyondQt() const { return m_isBeyondQt; }

private:
    char peek()
    {
        while (std::strchr(" \t\r\n", m_text[m_at]) && m_text[m_at]) {
            ++m_at;
        }
        return m_text[m_at];
    }

    QByteArray readString()
    {
        peek();
        const int start = m_at;
        for (++m_at; m_text[m_at] != '"'; ++m_at) {
            if (m_text[m_at] == '\\') {
                ++m_at;
            }
        }
        ++m_at;
        return m_text.mid(start, m_at - start);
    }

    QByteArray readValue()
    {
        switch (peek()) {
        case '{':
            return readObject();
        case '[':
            return readArray();
        case '"':
            return readString();
        default:
            const int start = m_at;
            while (!std::strchr(" \t\r\n,]}", m_text[m_at])) {
                ++m_at;
            }
            return m_text.mid(start, m_at - start);
        }
    }

    QByteArray readObject()
    {
        QList<QByteArray> members;
        QStringList keys;
        QStringList comparedKeys;
        while (peek() != '}') {
            ++m_at;
            if (peek() == '}') {
                break;
            }
            const QByteArray key = readString();
            peek();
            ++m_at;
            members += key + ":" + readValue();
            keys += decoded(key);
            // Behind another character, where a byte-order mark stays.
            comparedKeys += decoded("\"." + key.mid(1));
            for (QChar &unit : comparedKeys.last()) {
                if (unit.isSurrogate() && !isPaired(comparedKeys.last(), &unit)) {
                    unit = QChar::ReplacementCharacter;
                }
            }
        }
        ++m_at;

        QByteArray object = "{";
        for (int i = 0; i < members.size(); ++i) {
            if (keys.lastIndexOf(keys[i]) != i) {
                m_hasDuplicates = true;
                continue;
            }
            if (comparedKeys.count(comparedKeys[i]) != keys.count(keys[i])) {
                m_isBeyondQt = true;
            }
            object += (object.size() > 1 ? "," : "") + members[i];
        }
        return object + "}";
    }

    static QString decoded(const QByteArray &string)
    {
        const auto isUsual = [](char byte) { return byte > 0 && byte != '\\'; };
        if (std::all_of(string.begin(), string.end(), isUsual)) {
            return QString::fromLatin1(string.constData() + 1, string.size() - 2);
        }
        return QJsonDocument::fromJson("[" + string + "]").array().at(0).toString();
    }

    static bool isPaired(const QString &text, const QChar *unit)
    {
        return unit->isHighSurrogate() ? unit + 1 != text.constEnd() && unit[1].isLowSurrogate()
                                       : unit != text.constBegin() && unit[-1].isHighSurrogate();
    }

    QByteArray readArray()
    {
        QByteArray array = "[";
        while (peek() != ']') {
            ++m_at;
            if (peek() == ']') {
                break;
            }
            array += (array.size() > 1 ? "," : "") + readValue();
        }
        ++m_at;
        return array + "]";
    }

    const QByteArray m_text;
    int m_at = 0;
    bool m_hasDuplicates = false;
    bool m_isBeyondQt = false;
};

void compareTexts(const QByteArray &text)
{
    const QVariantMap ours = mapFromJsonText(text.constData());

    QVariantMap qts;
    bool isObject = false;
    {
        // Qt's parser loses the containers below a duplicate key; ours runs outside of this block.
        const __lsan::ScopedDisabler ignoreLeaks;
        const QJsonDocument document = QJsonDocument::fromJson(text);
        isObject = document.isObject();
        qts = document.toVariant().toMap();
    }
    if (isObject) {
        DuplicateCutter cutter(text);
        const QByteArray cut = cutter.cut();
        if (cutter.isBeyondQt()) {
            return;
        }
        if (cutter.hasDuplicates()) {
            qts = QJsonDocument::fromJson(cut).toVariant().toMap();
        }
    }
    if (!isSameMap(ours, qts)) {
        differ("read differently", jsonTextFromMap(ours), text);
    }

    const QByteArray written = jsonTextFromMap(ours);
    const QByteArray expected = QJsonDocument::fromVariant(ours).toJson(QJsonDocument::Compact);
    if (written != expected) {
        differ("wrote what was read differently", written, expected);
    }
}

// ---- maps ----

// Makes values of all kinds from the bytes of the input.
class Maker
{
public:
    Maker(const uchar *data, size_t size) : m_at(data), m_end(data + size) {}

    QVariantMap map(int depth)
    {
        QVariantMap map;
        for (int count = byte() % 24; count > 0 && m_at != m_end; --count) {
            const QString key = string();
            const bool isMulti = byte() == 0xff;
            const QVariant made = value(depth);
            if (isMulti) {
                static_cast<QMultiMap<QString, QVariant> &>(map).insert(key, made);
            } else {
                map.insert(key, made);
            }
        }
        return map;
    }

private:
    uchar byte() { return m_at != m_end ? *m_at++ : 0; }

    template <typename T>
    T raw()
    {
        T result{};
        const size_t size = std::min(sizeof result, size_t(m_end - m_at));
        std::memcpy(&result, m_at, size);
        m_at += size;
        return result;
    }

    QByteArray bytes()
    {
        const int size = std::min(int(byte() % 70), int(m_end - m_at));
        const QByteArray bytes(reinterpret_cast<const char *>(m_at), size);
        m_at += size;
        return bytes;
    }

    // Any UTF-16 units from pairs of bytes, or ASCII with some marks.
    QString string()
    {
        const bool isWide = byte() % 4 == 0;
        const QByteArray units = bytes();
        if (!isWide) {
            return QString::fromLatin1(units);
        }
        return QString(reinterpret_cast<const QChar *>(units.constData()), units.size() / 2);
    }

    QVariantList list(int depth)
    {
        QVariantList list;
        for (int count = byte() % 8; count > 0; --count) {
            list.append(value(depth));
        }
        return list;
    }

    QVariantHash hash(int depth)
    {
        QVariantHash hash;
        for (int count = byte() % 4; count > 0; --count) {
            hash.insert(string(), value(depth));
        }
        return hash;
    }

    QVariant value(int depth)
    {
        switch (byte() % (depth < 8 ? 30 : 24)) {
        case 0:
            return QVariant();
        case 1:
            return QVariant::fromValue(nullptr);
        case 2:
            return byte() % 2 == 0;
        case 3:
            return raw<int>();
        case 4:
            return raw<uint>();
        case 5:
            return raw<qlonglong>();
        case 6:
            return raw<qulonglong>();
        case 7:
            return raw<double>();
        case 8:
            return raw<float>();
        case 9:
            return QVariant::fromValue(raw<short>());
        case 10:
            return raw<int>() / 1000.0;
        case 11:
            return double(raw<qlonglong>() >> byte() % 64);
        case 12:
            return QVariant(qlonglong((1LL << 53) - 128 + byte()));
        case 13:
        case 14:
            return string();
        case 15:
            return bytes();
        case 16:
            return QVariant(QVariant::String);
        case 17:
            return QStringList{string(), QString(), string()};
        case 18:
            return QUrl(string());
        case 19:
            return QDateTime::fromMSecsSinceEpoch(raw<int>(), Qt::UTC);
        case 20:
            return QJsonValue::fromVariant(bytes());
        case 21:
            return QChar(raw<ushort>());
        case 22:
            return QVariant::fromValue(raw<long>());
        case 23:
            return QVariant::fromValue(QByteArrayList{"JSON", bytes()});
        case 24:
        case 25:
            return list(depth + 1);
        case 26:
            return hash(depth + 1);
        case 27:
            return QJsonObject::fromVariantMap(map(depth + 1));
        default:
            return map(depth + 1);
        }
    }

    const uchar *m_at;
    const uchar *m_end;
};

void compareMaps(const QVariantMap &map)
{
    const QByteArray expected = QJsonDocument::fromVariant(map).toJson(QJsonDocument::Compact);
    const QByteArray written = jsonTextFromMap(map);
    if (written != expected) {
        differ("wrote differently", written, expected);
    }

    // Two objects of the same members: the strings as they are, and as UTF-8.
    QVariantMap strings;
    QVariantMap bytes;
    QByteArrayList keys; // they outlive the objects' texts
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        keys.append("k" + QByteArray::number(keys.size() + 100));
        strings.insert(keys.last(), it.key());
        bytes.insert(keys.last(), it.key().toLatin1() + it.key().toUtf8());
    }
    JsonObjectTexts objects;
    QStringList texts;
    for (const QVariantMap &object : {strings, bytes}) {
        for (const QByteArray &key : keys) {
            const QVariant value = object.value(key);
            value.userType() == QMetaType::QString
                ? objects.add(QLatin1String(key), value.toString())
                : objects.add(QLatin1String(key), value.toByteArray());
        }
        if (!keys.isEmpty()) {
            objects.endObject();
            texts.append(QJsonDocument::fromVariant(object).toJson(QJsonDocument::Compact));
        }
    }
    const QVariantMap list{{"k", objects.take().toVariant()}};
    const QVariantMap qtList{{"k", texts}};
    const QByteArray expectedTexts =
        QJsonDocument::fromVariant(qtList).toJson(QJsonDocument::Compact);
    if (jsonTextFromMap(list) != expectedTexts) {
        differ("wrote flat objects differently", jsonTextFromMap(list), expectedTexts);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0) {
        return 0;
    }
    if (data[0] == 'm') {
        compareMaps(Maker(data + 1, size - 1).map(0));
        return 0;
    }

    // In a block of its own size, so that AddressSanitizer sees a step behind its NUL. What follows
    // a NUL is not compared: the boundary's texts end there.
    const auto *text = reinterpret_cast<const char *>(data);
    const std::unique_ptr<char[]> copy(new char[size + 1]);
    std::memcpy(copy.get(), text, size);
    copy[size] = 0;
    // Often enough for its objects to be known; then one that differs in a byte.
    for (int round = 0; round < 3; ++round) {
        mapFromJsonText(copy.get());
    }
    QByteArray compared(text, int(strnlen(text, size)));
    compareTexts(compared);
    if (compared.size() > 1) {
        compared[int(size) * 31 % compared.size()] = compared[compared.size() / 2];
        compareTexts(compared);
    }
    return 0;
}
