#include "json/jsonobjecttext.h"

void JsonObjectText::addKey(QLatin1String key)
{
    const bool isFirst = m_writer.length() == 0;
    Q_ASSERT(isFirst || m_lastKey < key);
    m_lastKey = key;
    m_writer.append(isFirst ? QLatin1String("{\"") : QLatin1String(",\""));
    m_writer.append(key);
    m_writer.append(QLatin1String("\":"));
}

void JsonObjectText::add(QLatin1String key, const QString &value)
{
    addKey(key);
    m_writer.string(value);
}

void JsonObjectText::add(QLatin1String key, const QByteArray &value)
{
    addKey(key);
    m_writer.bytes(value);
}

void JsonObjectText::add(QLatin1String key, bool value)
{
    addKey(key);
    m_writer.boolean(value);
}

void JsonObjectText::add(QLatin1String key, int value)
{
    addKey(key);
    m_writer.wholeNumber(value);
}

QString JsonObjectText::take()
{
    if (m_writer.length() == 0) {
        m_writer.punctuation('{');
    }
    m_writer.punctuation('}');
    const QString text = QString::fromUtf8(m_writer.text(), m_writer.length());
    m_writer.clear();
    return text;
}
