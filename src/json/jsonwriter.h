#pragma once

#include <QByteArray>
#include <QString>
#include <QVariantMap>

#include <cstring>

/// JSON that is written already, UTF-8: as a value of a map it goes into the text as it is.
struct JsonText
{
    QByteArray text;
};
Q_DECLARE_TYPEINFO(JsonText, Q_MOVABLE_TYPE);
Q_DECLARE_METATYPE(JsonText)

/// The compact JSON text of a map, UTF-8: byte for byte that of QJsonDocument::fromVariant(), but for
/// a JsonText.
///
/// Thread: any.
QByteArray jsonTextFromMap(const QVariantMap &map);

/// Builds one text piece by piece. Each piece goes in as it is: the caller writes the marks
/// between them. Lives on the stack of one thread.
class JsonWriter
{
public:
    /// Where the text stands: the quotes and escapes of its strings are escaped in their turn when that
    /// is inside another string.
    enum class Strings { Plain, InString };

    explicit JsonWriter(Strings strings = Strings::Plain) : m_strings(strings) {}
    JsonWriter(const JsonWriter &) = delete;
    JsonWriter &operator=(const JsonWriter &) = delete;

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

    /// What has been written since the last clear() or take().
    const char *text() const { return m_begin; }
    int length() const { return int(m_at - m_begin); }

    /// Forgets what was written and keeps the room for it.
    void clear() { m_at = m_begin; }
    QByteArray take();

private:
    /// Eight escapes of seven bytes, which string() writes in one step, and what is around them.
    static constexpr int kRoom = 64;

    /// Room for kRoom bytes more, or for some more than that.
    void makeRoom(int more = 0)
    {
        if (Q_UNLIKELY(m_limit - m_at < kRoom + more)) {
            grow(more);
        }
    }

    void grow(int more);
    template <typename Unit>
    void units(const Unit *at, const Unit *end);

    const Strings m_strings;
    QByteArray m_text; // its size is the room there is
    char *m_begin = nullptr;
    char *m_at = nullptr; // behind what is written
    char *m_limit = nullptr;
};
