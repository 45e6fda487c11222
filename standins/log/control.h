#pragma once

#include <string>
#include <vector>

/// \file
/// Scripts and reads back the stand-in of the log library (libvemolog.so). Used by tests and by the
/// command-line host, which find zefLogStandinControl with dlsym in the library that is loaded.

namespace zefstandin {

/// One call of writeMsg, as it arrived.
struct LogLine
{
    std::wstring level;
    std::wstring module;
    std::wstring message;
    long threadId = 0; ///< kernel id of the calling thread
};

/// All functions are callable from any thread.
class LogControl
{
public:
    virtual ~LogControl() = default;

    /// Clears the records and restores every setting below to its default, except setRecording.
    virtual void reset() = 0;

    /// Whether lines and calls are kept for lines() and calls(), the last 10,000 of each. Off at first,
    /// so that the memory of a long-running process does not grow.
    virtual void setRecording(bool recording) = 0;

    /// Where the log files go, UTF-8; created with its sub-directory at the next use. Empty
    /// restores the default, which lies below the user's state directory.
    virtual void setBaseDirectory(const std::string &directory) = 0;

    /// While set, no sub-directory is created for the executable.
    virtual void setSubdirectoryMissing(bool missing) = 0;

    /// While set, getVemoLogSavePath returns a null pointer.
    virtual void setSavePathNull(bool null) = 0;

    /// While set, writeMsg returns at once and no folder is created. For measurements.
    virtual void setSilent(bool silent) = 0;

    /// While set, every export but this control throws when it has done its work.
    virtual void setThrowing(bool throwing) = 0;

    /// The recorded lines, in order of arrival.
    virtual std::vector<LogLine> lines() const = 0;

    /// The recorded calls of all other exports, in order, as "name" or "name argument" in UTF-8, for example
    /// "explicitDefineLogName demo"; writeMsg is left out.
    virtual std::vector<std::string> calls() const = 0;

    /// The file that lines go to now, UTF-8; empty before the first line.
    virtual std::string currentFile() const = 0;
};

} // namespace zefstandin

/// The one control object of the loaded stand-in; never null, never deleted by the caller.
extern "C" zefstandin::LogControl *zefLogStandinControl();
