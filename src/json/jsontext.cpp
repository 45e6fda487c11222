#include "json/jsontext.h"

#include <QByteArrayList>

namespace {

/// Stands before the text in a list. It is recognised by its address, which no list of others has.
QByteArray mark()
{
    return QByteArrayLiteral("JSON");
}

} // namespace

QVariant JsonText::toVariant() const
{
    return QVariant::fromValue(QByteArrayList{mark(), text});
}

const QByteArray *JsonText::in(const QVariant &variant)
{
    if (variant.userType() != QMetaType::QByteArrayList) {
        return nullptr;
    }
    const auto &list = *static_cast<const QByteArrayList *>(variant.constData());
    const bool isMarked = list.size() == 2 && list.first().constData() == mark().constData();
    return isMarked ? &list.last() : nullptr;
}
