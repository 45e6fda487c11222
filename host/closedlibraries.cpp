#include "closedlibraries.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

namespace zefhost {

namespace {

const std::string kCategory = "zelectronframework.libraries: ";

/// Calls use(library, rest) for each message "library: rest" of the category.
template <typename Use>
void forEachMessage(const std::string &text, Use use)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": ", kCategory.size());
        if (line.rfind(kCategory, 0) == 0 && colon != std::string::npos) {
            use(line.substr(kCategory.size(), colon - kCategory.size()), line.substr(colon + 2));
        }
    }
}

} // namespace

ClosedLibraries::ClosedLibraries()
    : m_file(memfd_create("errors", MFD_CLOEXEC)), m_standardError(dup(STDERR_FILENO))
{
    setenv("QT_LOGGING_RULES", "zelectronframework.libraries.debug=true", 1);
    setenv("QT_MESSAGE_PATTERN", "%{if-category}%{category}: %{endif}%{message}", 1);
    dup2(m_file, STDERR_FILENO);
}

ClosedLibraries::~ClosedLibraries()
{
    std::fflush(stderr);
    dup2(m_standardError, STDERR_FILENO);
    std::istringstream lines(written());
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(kCategory, 0) != 0) {
            std::fprintf(stderr, "%s\n", line.c_str());
        }
    }
    close(m_standardError);
    close(m_file);
}

void ClosedLibraries::print(Printer &printer) const
{
    const std::string text = written();
    std::map<std::string, std::string> files;
    forEachMessage(text, [&files](const std::string &library, const std::string &rest) {
        if (rest[0] == '/') {
            files[library] = rest;
        }
    });
    forEachMessage(text, [&](const std::string &library, const std::string &rest) {
        std::istringstream words(rest);
        ClosedFunction function{library, files[library], {}, {}, {}};
        words >> function.name >> function.need >> function.state;
        if (rest == "missing") {
            printer.closedFunction({library, {}, {}, {}, rest});
        } else if (rest[0] != '/') {
            printer.closedFunction(function);
        }
    });
}

std::string ClosedLibraries::written() const
{
    std::string text;
    char part[4096];
    for (off_t at = 0; const ssize_t size = pread(m_file, part, sizeof part, at); at += size) {
        if (size < 0) {
            break;
        }
        text.append(part, static_cast<std::size_t>(size));
    }
    return text;
}

} // namespace zefhost
