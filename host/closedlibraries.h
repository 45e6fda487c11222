#pragma once

#include "printer.h"

namespace zefhost {

/// Learns from the library's own debug messages what it finds of the closed libraries. Takes in the
/// standard error while it exists; what is no such message is written there in the end.
class ClosedLibraries
{
public:
    /// Before Qt is loaded, which reads what this sets.
    ClosedLibraries();
    ~ClosedLibraries();
    ClosedLibraries(const ClosedLibraries &) = delete;
    ClosedLibraries &operator=(const ClosedLibraries &) = delete;

    /// Prints what was found until now.
    void print(Printer &printer) const;

private:
    std::string written() const;

    int m_file = -1;
    int m_standardError = -1;
};

} // namespace zefhost
