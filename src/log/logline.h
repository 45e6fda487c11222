#pragma once

#include <QByteArray>
#include <QString>

#include <initializer_list>
#include <string>

/// One untrusted value of a log text; a view that is valid during the call it is passed to.
class LogText
{
public:
    LogText(const char *utf8) : m_utf8(utf8 ? utf8 : ""), m_size(qstrlen(m_utf8)) {}
    LogText(const char *utf8, int size) : m_utf8(utf8), m_size(static_cast<std::size_t>(size)) {}
    LogText(const QByteArray &utf8) : LogText(utf8.constData(), utf8.size()) {}
    LogText(const QString &text) : m_text(&text), m_size(static_cast<std::size_t>(text.size())) {}
    LogText(int number) : m_number(number), m_size(11) {}

    /// Writes the value. \return the place behind it.
    wchar_t *writeTo(wchar_t *place) const;

    /// At least the number of wide characters that writeTo writes.
    std::size_t maximumSize() const { return m_size; }

private:
    const char *m_utf8 = nullptr;
    const QString *m_text = nullptr;
    int m_number = 0;
    std::size_t m_size = 0;
};

/// Writes the line "function text" through the log proxy, if there is one that writes.
///
/// \param text ASCII, with the places %1 to %9 for the values, each at most once. Values are
///             inserted unchanged: a "%1" inside one of them stays.
///
/// Thread: any, as long as the log proxy lives.
void logInfo(const char *function, const char *text, std::initializer_list<LogText> values = {});
void logWarning(const char *function, const char *text, std::initializer_list<LogText> values = {});
void logError(const char *function, const char *text, std::initializer_list<LogText> values = {});
