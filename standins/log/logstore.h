#pragma once

#include "control.h"
#include "logfile.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <set>

namespace vemolog {

/// What the log library knows: its names, its file, its record and the settings of the control.
///
/// There is one, made at first use and never deleted, so that threads can still log while the process
/// exits. All functions are callable from any thread.
class LogStore final : public zefstandin::LogControl
{
public:
    static LogStore &instance();

    void write(const wchar_t *level, const wchar_t *module, const wchar_t *message);
    void setLogName(const wchar_t *name);
    void setProductName(const wchar_t *name);
    void aboutToQuit();
    /// Owned by the store and valid until the process ends; null when there is no path.
    const wchar_t *savePath();
    bool isThrowing() const { return m_isThrowing; }

    void reset() override;
    void setRecording(bool recording) override { m_isRecording = recording; }
    void setBaseDirectory(const std::string &directory) override;
    void setSubdirectoryMissing(bool missing) override;
    void setSavePathNull(bool null) override { m_savePathIsNull = null; }
    void setSilent(bool silent) override { m_isSilent = silent; }
    void setThrowing(bool throwing) override { m_isThrowing = throwing; }
    std::vector<zefstandin::LogLine> lines() const override;
    std::vector<std::string> calls() const override;
    std::string currentFile() const override;

private:
    LogStore() = default;

    // These are called with m_mutex held.
    std::string baseDirectory() const;
    std::string makeFolders() const;
    void writeToFile(const zefstandin::LogLine &line);
    template <typename Entry>
    void record(std::deque<Entry> &list, Entry entry);

    /// Guards everything below it; held over no call out of the library.
    mutable std::mutex m_mutex;
    LogFile m_file; ///< closed by whatever changes its path, and opened by the next line
    std::string m_logName = "log";
    std::string m_product;
    std::string m_givenBase;
    std::set<std::wstring> m_savePaths; ///< all that were ever handed out
    std::deque<zefstandin::LogLine> m_lines;
    std::deque<std::string> m_calls;
    bool m_subdirectoryIsMissing = false;

    std::atomic<bool> m_isRecording{false};
    std::atomic<bool> m_savePathIsNull{false};
    std::atomic<bool> m_isSilent{false};
    std::atomic<bool> m_isThrowing{false};
};

} // namespace vemolog
