#include "framework/quietstart.h"

#include <QString>

#include <atomic>
#include <clocale>

namespace {

std::atomic<QtMessageHandler> s_previousHandler{nullptr};

// True on the thread that constructs the application: only its line is dropped.
thread_local bool t_isStarting = false;

void dropThreadLine(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (t_isStarting && text.endsWith(QLatin1String("was not created in the main() thread."))) {
        return;
    }
    if (const QtMessageHandler previous = s_previousHandler.load()) {
        previous(type, context, text);
    }
}

std::string currentLocale()
{
    const char *name = std::setlocale(LC_ALL, nullptr); // NOLINT(concurrency-mt-unsafe): reads only
    return name ? name : "C";
}

} // namespace

QuietStart::QuietStart() : m_locale(currentLocale())
{
    t_isStarting = true;
    s_previousHandler = qInstallMessageHandler(&dropThreadLine);
}

QuietStart::~QuietStart()
{
    const QtMessageHandler installed = qInstallMessageHandler(s_previousHandler);
    if (installed != &dropThreadLine) {
        qInstallMessageHandler(installed); // the host put its own handler in meanwhile
    }
    t_isStarting = false;

    // NOLINTNEXTLINE(concurrency-mt-unsafe): Qt has just called it on this thread, this undoes it.
    std::setlocale(LC_ALL, m_locale.c_str());
}
