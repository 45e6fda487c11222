#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <cstring>

/// Builds one text, of a map as a whole or piece by piece: the caller writes the punctuation
/// between the pieces. Short texts need no allocation. Lives on the stack of one thread.
class JsonWriter
{
public:
    /// Whether the text will be part of another JSON string; its quotes and escapes are then
    /// escaped once more.
    enum class Strings { Plain, InString };

    explicit JsonWriter(Strings strings = Strings::Plain) : m_strings(strings) {}
    /// As map().
    explicit JsonWriter(const QVariantMap &content) : JsonWriter() { map(content); }
    JsonWriter(const JsonWriter &) = delete;
    JsonWriter &operator=(const JsonWriter &) = delete;

    /// The compact JSON text of a map: byte for byte that of QJsonDocument::fromVariant(), but for
    /// a JsonText.
    void map(const QVariantMap &map);

    void punctuation(char mark)
    {
        makeRoom();
        *m_at++ = mark;
    }

    /// ASCII or UTF-8 that needs no escape.
    void append(QLatin1String text)
    {
        makeRoom(text.size());
        std::memcpy(m_at, text.data(), std::size_t(text.size()));
        m_at += text.size();
    }

    void boolean(bool value) { append(value ? QLatin1String("true") : QLatin1String("false")); }
    void wholeNumber(qlonglong number);
    /// With its quotes and escapes.
    void string(const QString &string);
    /// UTF-8, as a string. Empty bytes are a JSON null.
    void bytes(const QByteArray &bytes);

    /// The text written so far, NUL-terminated.
    const char *text()
    {
        makeRoom();
        *m_at = '\0';
        return m_begin;
    }
    int length() const { return int(m_at - m_begin); }

    /// Returns the text written so far and empties the writer.
    QByteArray take();

private:
    /// Eight escapes of up to seven bytes, which string() writes in one step, and their quotes.
    static constexpr int kRoom = 64;

    /// Makes room for kRoom + more further bytes.
    void makeRoom(int more = 0)
    {
        if (Q_UNLIKELY(m_limit - m_at - kRoom < more)) {
            grow(more);
        }
    }

    void grow(int more);
    template <typename Unit>
    void units(const Unit *at, const Unit *end);

    const Strings m_strings;
    char m_stackRoom[512];
    QByteArray m_heapRoom; // used once the stack does not suffice; its size is the capacity
    char *m_begin = m_stackRoom;
    char *m_at = m_stackRoom; // end of the text written so far
    char *m_limit = m_stackRoom + sizeof m_stackRoom;
};
