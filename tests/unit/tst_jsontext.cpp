#include "json/jsonobjecttexts.h"
#include "json/jsonreader.h"
#include "json/jsonwriter.h"
#include "support/rows.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QUrl>

#include <limits>

// Every expected value is written out and also compared with Qt's result for the same input.
class tst_JsonText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // reading
    void readsValue_data();
    void readsValue();
    void refuses_data();
    void refuses();
    void readsDownToDepthLimit();
    void lastOfDuplicatesCounts_data();
    void lastOfDuplicatesCounts();
    void readsObjectsLikeEarlierOnes_data();
    void readsObjectsLikeEarlierOnes();

    // writing
    void writesValue_data();
    void writesValue();
    void writesKeysInOrder();
    void writesBelowDepthLimit();
    void writesMarksAtEveryPlace();
    void piecesFollowEachOther();

    // lists of flat objects
    void objectTextsEqualMaps();
};

namespace {

QByteArray jsonTextFromMap(const QVariantMap &map)
{
    return JsonWriter(map).take();
}

QVariantMap readByQt(const QByteArray &text)
{
    return QJsonDocument::fromJson(text).toVariant().toMap();
}

QByteArray writtenByQt(const QVariantMap &map)
{
    return QJsonDocument::fromVariant(map).toJson(QJsonDocument::Compact);
}

/// Has enough members for its keys to be remembered.
constexpr auto kKnownObject =
    R"({"b":1,"a":"two","h":true,"d":null,"e":[5],"f":"six","i":"","c":{}})";

QByteArray nestedArrays(int depth)
{
    return "{\"a\":" + QByteArray(depth, '[') + QByteArray(depth, ']') + "}";
}

} // namespace

void tst_JsonText::readsValue_data()
{
    const auto row = columns<QByteArray, QVariant>("value", "expected");

    row("true", "true", true);
    row("false", " false ", false);
    row("null", "null", QVariant::fromValue(nullptr));
    row("zero", "0", 0LL);
    row("minus zero", "-0", 0LL);
    row("minus zero with fraction", "-0.0", 0LL);
    row("18 digits", "-999999999999999999", -999999999999999999LL);
    row("greatest whole number", "9223372036854775807", std::numeric_limits<qlonglong>::max());
    row("one beyond", "9223372036854775808", 9223372036854775808.0);
    row("least whole number", "-9223372036854775808", std::numeric_limits<qlonglong>::min());
    row("whole with exponent", "1E+5", 100000LL);
    row("fraction", "-1.5e-3", -0.0015);
    row("no digit behind point", "1.", 1LL);
    row("no digit before point", "-.5", -0.5);
    row("empty string", "\"\"", QString(""));
    row("plain string", "\"just over eight bytes\"", "just over eight bytes");
    row("escapes", R"("\"\\\/\b\f\n\r\t\q")", "\"\\/\b\f\n\r\tq");
    row("hexadecimal escapes", R"("\u0041\u00e9\u00E9")", QStringLiteral("A\u00e9\u00e9"));
    row("escaped zero", R"("a\u0000b")", QString("a") + QChar(0) + "b");
    row("escaped pair", R"("\ud83d\ude00")", QString::fromUtf8("\xf0\x9f\x98\x80"));
    row("lone surrogate", R"("\ud800")", QString(QChar(0xd800)));
    row("control characters", "\"\x01\n\x1f\x7f\"", QString("\x01\n\x1f\x7f"));
    row("two to four bytes", "\"\xc3\xa9\xe6\x97\xa5\xf0\x9f\x98\x80\"",
        QString::fromUtf8("\xc3\xa9\xe6\x97\xa5\xf0\x9f\x98\x80"));
    row("noncharacter", "\"\xef\xbf\xbf\"", QString(QChar(0xffff)));
    row("mark at the head", "\"\xef\xbb\xbfx\"", "x");
    row("mark with an escape", "\"\xef\xbb\xbf\\n\"", QString(QChar(0xfeff)) + "\n");
    row("empty array", "[ ]", QVariantList());
    row("array", "[1,[2],{}]", QVariantList{1LL, QVariant(QVariantList{2LL}), QVariantMap()});
    row("object", R"({"x":{"":1}})", QVariantMap{{"x", QVariantMap{{"", 1LL}}}});
}

void tst_JsonText::readsValue()
{
    QFETCH(QByteArray, value);
    QFETCH(QVariant, expected);

    for (const QByteArray &start :
         {QByteArray("{\"k\":"), QByteArray("\xef\xbb\xbf \r\n\t{ \"k\" :")}) {
        const QByteArray text = start + value + "}";
        const QVariantMap map = mapFromJsonText(text.constData());
        QCOMPARE(map.keys(), QStringList("k"));
        QCOMPARE(map["k"].userType(), expected.userType());
        QCOMPARE(map["k"].isNull(), expected.isNull());
        QCOMPARE(map["k"], expected);
        QCOMPARE(map, readByQt(text));
        QCOMPARE(readByQt(text)["k"].userType(), expected.userType());
    }
}

void tst_JsonText::refuses_data()
{
    const auto row = columns<QByteArray>("text");

    const QList<QByteArray> texts = {
        "", " ", "x", "1", "\"a\"", "null", "[]", "[{\"a\":1}]", "{", "}", "{]", "{,}", "{a:1}",
        "{\"a\"}", "{\"a\":}", "{\"a\" 1}", "{\"a\":1", "{\"a\":1,}", "{\"a\":1 \"b\":2}",
        "{\"a\":1}x", "{\"a\":1}{}", "{\"a\":[1,]}", "{\"a\":[,1]}", "{\"a\":[1 2]}", "{\"a\":[1}",
        "{\"a\":tru}", "{\"a\":truex}", "{\"a\":NULL}", "{\"a\":01}", "{\"a\":+1}", "{\"a\":-}",
        "{\"a\":1e}", "{\"a\":1e400}", "{\"a\":1e-400}", "{\"a\":nan}", "{\"a\":0x1}",
        "{\"a\":\"b}", "{\"a\":\"b\\\"}", "{\"a\":\"\\u12\"}", "{\"a\":\"\\u12g4\"}",
        "{\"a\":\"\\u", "{\"a\":\"\\", "{\"a\":\"\\u123",
        // not UTF-8: a lone continuation, overlong forms, a surrogate, beyond U+10FFFF, cut short
        "{\"a\":\"\x80\"}", "{\"a\":\"\xc1\xbf\"}", "{\"a\":\"\xe0\x9f\xbf\"}",
        "{\"a\":\"\xf0\x8f\xbf\xbf\"}", "{\"a\":\"\xed\xa0\x80\"}", "{\"a\":\"\xf4\x90\x80\x80\"}",
        "{\"a\":\"\xf5\x80\x80\x80\"}", "{\"a\":\"\xe6\x97\"}", "{\"a\":\"\xe6", "{\"\xff\":1}",
        "\xef\xbb\xbf", "\xef\xbb{}", "\xc2\xa0{\"a\":1}"};
    for (const QByteArray &text : texts) {
        row(text.toPercentEncoding(" !\"#$&'()*+,/:;<=>?@[]{}\\").constData(), text);
    }
}

void tst_JsonText::refuses()
{
    QFETCH(QByteArray, text);

    QCOMPARE(mapFromJsonText(text.constData()), QVariantMap());
    QCOMPARE(readByQt(text), QVariantMap());
}

void tst_JsonText::readsDownToDepthLimit()
{
    QCOMPARE(mapFromJsonText(nestedArrays(1023).constData()).size(), 1);
    QCOMPARE(readByQt(nestedArrays(1023)).size(), 1);
    QVERIFY(mapFromJsonText(nestedArrays(1024).constData()).isEmpty());
    QVERIFY(readByQt(nestedArrays(1024)).isEmpty());
    QVERIFY(mapFromJsonText(nullptr).isEmpty());
    QVERIFY(mapFromJsonText(QByteArray(1000000, '{').constData()).isEmpty());
    QVERIFY(mapFromJsonText(QByteArray("{\"a\":").repeated(1000000).constData()).isEmpty());
}

void tst_JsonText::lastOfDuplicatesCounts_data()
{
    const auto row = columns<QByteArray, QByteArray>("text", "expected");

    QByteArray many;
    for (int i = 0; i < 40; ++i) {
        many += (i ? ",\"k" : "{\"k") + QByteArray::number(i % 4) + "\":" + QByteArray::number(i);
    }

    row("values", R"({"a":1,"b":2,"a":3})", R"({"a":3,"b":2})");
    row("containers", R"({"a":{"x":[1]},"a":[2],"a":{}})", R"({"a":{}})");
    row("by null", R"({"a":{"x":1},"a":null})", R"({"a":null})");
    row("spelled differently", R"({"a":1,"\u0061":2})", R"({"a":2})");
    row("many", many + "}", R"({"k0":36,"k1":37,"k2":38,"k3":39})");
    // Qt takes these two for one key.
    row("none", "{\"\\ud800\":1,\"\xef\xbf\xbd\":2}", "{\"\\ud800\":1,\"\xef\xbf\xbd\":2}");
}

void tst_JsonText::lastOfDuplicatesCounts()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, expected);

    QCOMPARE(jsonTextFromMap(mapFromJsonText(text.constData())), expected);
}

void tst_JsonText::readsObjectsLikeEarlierOnes_data()
{
    QTest::addColumn<QByteArray>("text");

    const QByteArray known(kKnownObject);
    const auto row = [&known](const char *name, const char *before, const QByteArray &after) {
        QVERIFY2(known.count(before) == 1, name);
        QTest::newRow(name) << QByteArray(known).replace(before, after);
    };
    row("the same", "two", "two");
    row("white space", R"(,"f":"six")", "\n , \t\"f\" :\r\"six\" ");
    row("other values", "true", R"([{"two":null}])");
    row("fewer members", R"(,"i":"","c":{})", "");
    row("one member", known.mid(6).constData(), "}");
    row("a further member", R"("c":{}})", R"("c":{},"later":1})");
    row("a member again", R"("c":{}})", R"("c":{},"c":"again"})");
    row("other first key", R"("b")", R"("B")");
    row("other last key", R"("c")", R"("C")");
    row("other order", R"("f":"six","i":"")", R"("i":"","f":"six")");
    row("longer key", R"("f")", R"("ff")");
    row("key with a blank", R"("f")", R"("f ")");
    row("escaped key", R"("f")", R"("\u0066")");
    row("one like it inside", "{}", known);
    row("no comma", R"(,"f")", R"("f")");
    row("comma first", R"({"b")", R"({,"b")");
    row("comma last", R"({}})", R"({},})");
    row("no colon", R"("f":)", R"("f")");
    row("bad value", "true", "truth");
    row("cut short", R"({}})", R"({})");
}

void tst_JsonText::readsObjectsLikeEarlierOnes()
{
    QFETCH(QByteArray, text);

    for (int round = 0; round < 4; ++round) {
        QCOMPARE(mapFromJsonText(kKnownObject), readByQt(kKnownObject));
    }
    QCOMPARE(mapFromJsonText(text.constData()), readByQt(text));
    QCOMPARE(mapFromJsonText(kKnownObject), readByQt(kKnownObject));
}

void tst_JsonText::writesValue_data()
{
    const auto row = columns<QVariant, QByteArray>("value", "expected");

    row("invalid", QVariant(), "null");
    row("null pointer", QVariant::fromValue(nullptr), "null");
    row("true", true, "true");
    row("false", false, "false");
    row("least int", std::numeric_limits<int>::min(), "-2147483648");
    row("greatest uint", std::numeric_limits<uint>::max(), "4294967295");
    row("2^53", 9007199254740992LL, "9007199254740992");
    row("2^53 + 1", 9007199254740993LL, "9007199254740992");
    row("least longlong", std::numeric_limits<qlonglong>::min(), "-9223372036854776000");
    row("greatest ulonglong", std::numeric_limits<qulonglong>::max(), "18446744073709552000");
    row("minus zero", -0.0, "0");
    row("whole double", -123456.0, "-123456");
    row("fraction", 0.1, "0.1");
    row("small", 1.5e-7, "1.5e-07");
    row("float", 0.1f, "0.10000000149011612");
    row("great", 1e22, "1e+22");
    row("not a number", qQNaN(), "null");
    row("infinite", -qInf(), "null");
    row("null string", QString(), "\"\"");
    row("escapes", "\"\\/\b\f\n\r\t\x01\x1f\x7f",
        R"("\"\\/\b\f\n\r\t\u0001\u001f)"
        "\x7f\"");
    row("zero", QString(QChar(0)), R"("\u0000")");
    row("two to four bytes", QString::fromUtf8("\xc3\xa9\xe6\x97\xa5\xf0\x9f\x98\x80"),
        "\"\xc3\xa9\xe6\x97\xa5\xf0\x9f\x98\x80\"");
    row("lone surrogates", QString(QChar(0xdc00)) + QChar(0xd800), R"("\udc00\ud800")");
    row("bytes", QByteArray("a\0\xc3\xa9", 4), "\"a\\u0000\xc3\xa9\"");
    row("bytes that are not UTF-8", QByteArray("\xff"), "\"\xef\xbf\xbd\"");
    row("no bytes", QByteArray(""), "null");
    row("bytes of a mark", QByteArray("\xef\xbb\xbf"), "null");
    row("bytes behind a mark", QByteArray("\xef\xbb\xbf\xef\xbb\xbfx"), "\"\xef\xbb\xbfx\"");
    row("string list", QStringList{"a", QString(), "b\""}, R"(["a","","b\""])");
    row("empty lists", QVariantList{QStringList(), QVariant(QVariantList())}, "[[],[]]");
    row("list", QVariantList{1, "a", QVariant()}, R"([1,"a",null])");
    row("maps", QVariantMap{{"b", QVariantMap()}, {"a", 1}}, R"({"a":1,"b":{}})");
    row("hash", QVariantHash{{"a", QByteArray("x")}}, R"({"a":"x"})");
    row("object", QJsonObject{{"a", QJsonArray{1.5}}}, R"({"a":[1.5]})");
    row("url", QUrl("http://a/\xc3\xa9"), R"("http://a/%C3%A9")");
    row("time", QDateTime::fromMSecsSinceEpoch(0, Qt::UTC), R"("1970-01-01T00:00:00.000Z")");
    row("character", QChar('x'), "\"x\"");
    row("no text", QVariant(QSize(1, 2)), "null");
    row("byte lists", QVariant::fromValue(QByteArrayList{"JSON", "{}"}), "null");
}

void tst_JsonText::writesValue()
{
    QFETCH(QVariant, value);
    QFETCH(QByteArray, expected);

    const QVariantMap member{{"k", value}};
    QCOMPARE(jsonTextFromMap(member), "{\"k\":" + expected + "}");
    QCOMPARE(jsonTextFromMap(member), writtenByQt(member));
    const QVariantMap element{{"k", QVariantList{value}}};
    QCOMPARE(jsonTextFromMap(element), writtenByQt(element));
}

void tst_JsonText::writesKeysInOrder()
{
    QCOMPARE(jsonTextFromMap({}), QByteArray("{}"));
    // U+E000 stands behind the surrogates of U+1F600, although its code point is the smaller one.
    const QVariantMap map{{"b", 1},
                          {"", 2},
                          {"a\"", 3},
                          {"B", 4},
                          {QString(QChar(0xe000)), 5},
                          {QString::fromUtf8("\xf0\x9f\x98\x80"), 6}};
    const QByteArray text =
        "{\"\":2,\"B\":4,\"a\\\"\":3,\"b\":1,\"\xf0\x9f\x98\x80\":6,\"\xee\x80\x80\":5}";
    QCOMPARE(jsonTextFromMap(map), text);
    QCOMPARE(writtenByQt(map), text);

    QMultiMap<QString, QVariant> several{{"k", 1}, {"l", 0}};
    several.insert("k", 2);
    QCOMPARE(jsonTextFromMap(several), QByteArray(R"({"k":1,"l":0})"));
    QCOMPARE(writtenByQt(several), QByteArray(R"({"k":1,"l":0})"));
}

void tst_JsonText::writesBelowDepthLimit()
{
    QVariantMap map;
    for (int depth = 1; depth < 3000; ++depth) {
        map = {{"a", depth % 2 ? QVariant(map) : QVariantList{map}}};
    }
    QCOMPARE(jsonTextFromMap(map), writtenByQt(map));
}

// Strings are looked at in pieces: each mark has to be seen wherever in a piece it lies.
void tst_JsonText::writesMarksAtEveryPlace()
{
    const QStringList marks{"\"",
                            "\\",
                            "\n",
                            "\x1f",
                            QString(QChar(0x80)),
                            QString(QChar(0x22 << 8)),
                            QString(QChar(0xd800)),
                            QString::fromUtf8("\xf0\x9f\x98\x80")};
    for (const QString &mark : marks) {
        for (int place = 0; place < 40; ++place) {
            QString string(40, 'x');
            string.insert(place, mark);
            string.insert((place * 7) % 40, mark);
            const QVariantMap map{{string, string}};
            QCOMPARE(jsonTextFromMap(map), writtenByQt(map));
            QCOMPARE(mapFromJsonText(writtenByQt(map).constData()), map);
            const QVariantMap bytes{{"utf8", string.toUtf8()}, {"not", string.toLatin1()}};
            QCOMPARE(jsonTextFromMap(bytes), writtenByQt(bytes));
        }
    }
}

void tst_JsonText::piecesFollowEachOther()
{
    JsonWriter writer;
    for (const int count : {1, 1000}) {
        const QByteArray text(5 * count, 'x');
        writer.append(QLatin1String(text));
        writer.string(QString(count, QChar(1)));
        writer.wholeNumber(-7);
        const QByteArray expected = text + '"' + QByteArray("\\u0001").repeated(count) + "\"-7";
        QCOMPARE(QByteArray(writer.text()), expected);
        QCOMPARE(writer.take(), expected);
    }
    writer.boolean(true);
    QCOMPARE(writer.take(), QByteArray("true"));
    QCOMPARE(writer.take(), QByteArray());
}

void tst_JsonText::objectTextsEqualMaps()
{
    QCOMPARE(JsonObjectTexts().take().text, QByteArray("[]"));

    JsonObjectTexts objects;
    QStringList texts;
    for (const QString &string :
         {QString(), QString(900, '"'), QString::fromUtf8("\xe6\x97\xa5"),
          QString::fromUtf8("\\\"\x01\n\x7f\xc3\xa9 behind") + QChar(0xd800) + QChar(0)}) {
        objects.add(QLatin1String("bytes"), string.toUtf8());
        objects.add(QLatin1String("flag"), true);
        objects.add(QLatin1String("number"), -5);
        objects.add(QLatin1String("string"), string);
        objects.endObject();
        const QVariantMap map{
            {"bytes", string.toUtf8()}, {"flag", true}, {"number", -5}, {"string", string}};
        texts.append(QString::fromUtf8(writtenByQt(map)));
    }
    const QVariantMap list{{"a", 1}, {"list", objects.take().toVariant()}, {"z", 2}};
    QCOMPARE(jsonTextFromMap(list), writtenByQt({{"a", 1}, {"list", texts}, {"z", 2}}));
}

QTEST_APPLESS_MAIN(tst_JsonText)
#include "tst_jsontext.moc"
