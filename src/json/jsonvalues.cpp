#include "json/jsonvalues.h"

#include "json/jsontext.h"

#include <QJsonDocument>

#include <cmath>

namespace {

/// Nesting of objects and arrays that is written here; Qt writes what is deeper.
constexpr int kDepthLimit = 1024;
/// Up to this limit every whole number has an exact double, so that its digits are those Qt writes.
constexpr double kExactWholeNumbers = 9007199254740992.0; // 2^53

template <typename T>
const T &held(const QVariant &value)
{
    return *static_cast<const T *>(value.constData());
}

/// Rare types are converted by Qt.
void writeThroughQt(JsonWriter &out, const QVariant &value)
{
    const QVariant list = QVariantList{value};
    const QByteArray text = QJsonDocument::fromVariant(list).toJson(QJsonDocument::Compact);
    out.append(QLatin1String(text.constData() + 1, text.size() - 2));
}

void writeNumber(JsonWriter &out, const QVariant &value, double number)
{
    // The comparison is also false for NaN.
    if (!(std::abs(number) <= kExactWholeNumbers)) {
        writeThroughQt(out, value);
    } else if (double(qlonglong(number)) == number) {
        out.wholeNumber(qlonglong(number));
    } else {
        const auto text = QByteArray::number(number, 'g', QLocale::FloatingPointShortest);
        out.append(QLatin1String(text));
    }
}

template <typename List, typename Write>
void writeArray(JsonWriter &out, const List &list, Write writeElement)
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

void writeValue(JsonWriter &out, const QVariant &value, int depth)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        return out.append(QLatin1String("null"));
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
        if (const QByteArray *text = JsonText::in(value)) {
            return out.append(QLatin1String(text->constData(), text->size()));
        }
        break;
    }
    writeThroughQt(out, value);
}

} // namespace

void writeObject(JsonWriter &out, const QVariantMap &map, int depth)
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
