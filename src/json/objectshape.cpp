#include "json/objectshape.h"

#include <algorithm>
#include <iterator>

namespace {

/// A map of fewer is built as fast.
constexpr int kFewestMembers = 8;

/// Whether each text of the key has the same bytes, and those of no other string.
bool isPlain(const QString &key)
{
    return std::all_of(key.begin(), key.end(), [](QChar character) {
        return character >= ' ' && character < 0x7f && character != '"' && character != '\\';
    });
}

/// Null when a key is not plain or occurs twice.
std::shared_ptr<const ObjectShape> shapeOf(const std::vector<QString> &keys)
{
    const auto shape = std::make_shared<ObjectShape>();
    for (const QString &key : keys) {
        if (!isPlain(key)) {
            return nullptr;
        }
        shape->map.insert(key, QVariant());
    }
    if (std::size_t(shape->map.size()) != keys.size()) {
        return nullptr;
    }
    const QVariantMap &map = shape->map;
    for (const QString &key : keys) {
        const auto place = std::distance(map.cbegin(), map.constFind(key));
        shape->members.push_back({key.toStdString() + '"', int(place)});
    }
    return shape;
}

} // namespace

void ObjectShapeLearner::finish()
{
    if (m_count < kFewestMembers || m_count > kMostMembers) {
        return;
    }
    const bool isAsLast = m_keysHash == m_slot.m_lastKeys;
    if (isAsLast && m_areKeysWanted) {
        m_slot.m_shape = shapeOf(m_keys);
    }
    m_slot.m_lastKeys = m_keysHash;
    m_slot.m_areKeysWanted = isAsLast && !m_areKeysWanted;
}
