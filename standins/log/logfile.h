#pragma once

#include <string>

namespace vemolog {

/// The default folder of log files, in the user's state directory: one for each product, "unnamed"
/// without a product. Empty when the user has no home.
std::string defaultBaseDirectory(const std::string &product);

/// The file name of the running program, or "unknown".
std::string executableName();

/// Makes the folder and what is missing above it, readable for the user alone. False when the path
/// is empty or some part cannot be made.
bool makeFolder(const std::string &path);

/// One log file, opened for appending. Not thread-safe: its user holds a lock. A file that has reached
/// 10 MB is renamed with the suffix ".1", replacing an earlier one, and a new file is started.
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
