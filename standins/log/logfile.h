#pragma once

#include <string>

namespace vemolog {

/// The folder that logs lie in by default: below the user's state directory, one folder deeper for
/// each product, "unnamed" without one. Empty when the user has no home.
std::string defaultBaseDirectory(const std::string &product);

/// The file name of the running program, or "unknown".
std::string executableName();

/// Makes the folder and what is missing above it, readable for the user alone. False when the path
/// is empty or some part cannot be made.
bool makeFolder(const std::string &path);

/// One log file, opened for appending. Not safe for several threads: its user locks. A file of 10 MB
/// is renamed to the same name with ".1" behind it, over an earlier one, and a new one begun.
///
/// Nothing here throws or reports: a line that cannot be written is lost, and the next one starts
/// on a line of its own.
class LogFile
{
public:
    LogFile() = default;
    LogFile(const LogFile &) = delete;
    LogFile &operator=(const LogFile &) = delete;
    ~LogFile() { close(); }

    bool isOpen() const { return m_descriptor >= 0; }

    /// Opens the file, closing another one.
    void open(const std::string &path);
    void close();

    /// Writes one line, which ends in a line break, at once.
    void append(const std::string &line);

    /// The file opened last, also after close; empty before.
    const std::string &path() const { return m_path; }
    void forget();

private:
    bool write(const char *data, std::size_t size);
    void rotate();

    std::string m_path;
    std::size_t m_size = 0;
    int m_descriptor = -1;
    bool m_lineIsBroken = false; ///< the last line was written in part
};

} // namespace vemolog
