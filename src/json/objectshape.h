#pragma once

#include <QVariantMap>

#include <memory>
#include <string>
#include <vector>

/// The keys of an object in the order of its text. Hosts send the same few objects with every call: the
/// map of a known one is copied instead of built, which compares no keys and balances no tree. That
/// takes a third off the time of a call with 43 members.
struct ObjectShape
{
    struct Member
    {
        std::string text; ///< the key with the quote behind it
        int place;        ///< of its value in the map
    };

    std::vector<Member> members;
    QVariantMap map; ///< has these keys and no values
};

/// Keeps one shape, which is learned when three objects in a row have it. Lives on one thread.
class ObjectShapeSlot
{
public:
    /// Null when none is known.
    const std::shared_ptr<const ObjectShape> &shape() const { return m_shape; }
    void forget() { m_shape = nullptr; }

private:
    friend class ObjectShapeLearner;

    std::shared_ptr<const ObjectShape> m_shape;
    uint m_lastKeys = 0; ///< hash of those of the last object
    bool m_areKeysWanted = false;
};

/// Notes the keys of one object whose shape is not known.
class ObjectShapeLearner
{
public:
    explicit ObjectShapeLearner(ObjectShapeSlot &slot)
        : m_slot(slot), m_areKeysWanted(slot.m_areKeysWanted)
    {
    }

    void add(const QString &key)
    {
        if (++m_count > kMostMembers) {
            return;
        }
        m_keysHash = qHash(key, m_keysHash);
        if (m_areKeysWanted) {
            m_keys.push_back(key);
        }
    }

    /// After the last key.
    void finish();

private:
    /// The memory for more would not be worth it.
    static constexpr int kMostMembers = 64;

    ObjectShapeSlot &m_slot;
    const bool m_areKeysWanted;
    int m_count = 0;
    uint m_keysHash = 0;
    std::vector<QString> m_keys;
};
