// Compares the values of log lines with Qt's conversions: any bytes, as text up to their NUL, as a
// byte array and as a QString, give the wide characters that Qt makes of them.

#include "log/logline.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

void compare(const char *form, const LogText &text, const QString &qts)
{
    // No longer than promised, so that AddressSanitizer sees a step behind it.
    std::vector<wchar_t> place(text.maximumSize());
    const std::wstring written(place.data(), text.writeTo(place.data()));
    if (written != qts.toStdWString()) {
        std::fprintf(stderr, "%s\nours: %s\nQt's: %s\n", form,
                     QString::fromStdWString(written).toUtf8().toPercentEncoding().constData(),
                     qts.toUtf8().toPercentEncoding().constData());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QByteArray text(bytes.constData());
    compare("byte array", LogText(bytes), QString::fromUtf8(bytes.constData(), bytes.size()));
    compare("text", LogText(text.constData()), QString::fromUtf8(text));
    const QString units(reinterpret_cast<const QChar *>(data), static_cast<int>(size / 2));
    compare("string", LogText(units), units);
    return 0;
}
