#include "json/jsonobjecttexts.h"

void JsonObjectTexts::addKey(QLatin1String key)
{
    Q_ASSERT(!m_isInObject || m_lastKey < key);
    m_lastKey = key;
    if (m_isInObject) {
        m_writer.append(QLatin1String(R"(,\")"));
    } else {
        m_writer.punctuation(m_writer.length() == 0 ? '[' : ',');
        m_writer.append(QLatin1String(R"("{\")"));
    }
    m_isInObject = true;
    m_writer.append(key);
    m_writer.append(QLatin1String(R"(\":)"));
}

void JsonObjectTexts::add(QLatin1String key, const QString &value)
{
    addKey(key);
    m_writer.string(value);
}

void JsonObjectTexts::add(QLatin1String key, const QByteArray &value)
{
    addKey(key);
    m_writer.bytes(value);
}

void JsonObjectTexts::add(QLatin1String key, bool value)
{
    addKey(key);
    m_writer.boolean(value);
}

void JsonObjectTexts::add(QLatin1String key, int value)
{
    addKey(key);
    m_writer.wholeNumber(value);
}

void JsonObjectTexts::endObject()
{
    Q_ASSERT(m_isInObject);
    m_isInObject = false;
    m_writer.append(QLatin1String(R"(}")"));
}

JsonText JsonObjectTexts::take()
{
    m_writer.append(m_writer.length() == 0 ? QLatin1String("[]") : QLatin1String("]"));
    return {m_writer.take()};
}
