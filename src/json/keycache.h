#pragma once

#include "json/objectshape.h"

#include <QString>

#include <algorithm>
#include <array>
#include <cstring>

/// Texts of keys that were read before, and shapes of objects. Hosts send the same few keys with every
/// call, and sharing a text costs a fifth of creating it. Each thread has its own cache of bounded
/// size, because the threads would contend for the reference count of a shared text.
class KeyCache
{
public:
    static constexpr int kLongestKey = 24;

    /// Null when the thread is ending.
    static KeyCache *ofThread();

    /// \param key ASCII without a zero; not empty and not longer than kLongestKey.
    const QString &text(const char *key, int length)
    {
        Bytes bytes{};
        std::memcpy(bytes.data(), key, std::size_t(length));
        const quint64 mixed = (bytes[0] ^ bytes[1] * 3 ^ bytes[2] * 5) * kGoldenRatio;
        Entry &entry = m_entries[mixed >> (64 - kEntryBits)];
        if (entry.bytes != bytes) {
            entry.text = QString::fromLatin1(key, length);
            entry.bytes = bytes;
        }
        return entry.text;
    }

    /// The slot for objects that begin as this text does.
    ObjectShapeSlot &shapeSlot(const char *object, std::ptrdiff_t length)
    {
        quint64 bytes = 0;
        std::memcpy(&bytes, object, std::size_t(std::min<std::ptrdiff_t>(length, sizeof bytes)));
        return m_shapeSlots[bytes * kGoldenRatio >> (64 - kShapeBits)];
    }

private:
    using Bytes = std::array<quint64, kLongestKey / sizeof(quint64)>; // zeros behind the key
    struct Entry
    {
        Bytes bytes{};
        QString text;
    };
    static constexpr quint64 kGoldenRatio = Q_UINT64_C(0x9e3779b97f4a7c15);
    static constexpr int kEntryBits = 9;
    static constexpr int kShapeBits = 4;

    std::array<Entry, 1 << kEntryBits> m_entries;
    std::array<ObjectShapeSlot, 1 << kShapeBits> m_shapeSlots;
};
