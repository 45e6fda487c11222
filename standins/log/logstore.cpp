#include "logstore.h"

#include "text.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>

#include <sys/syscall.h>
#include <unistd.h>

namespace vemolog {

using zefstandin::LogLine;
using Lock = std::lock_guard<std::mutex>;

namespace {

constexpr std::size_t kMostRecords = 10000;

std::wstring textOrEmpty(const wchar_t *text)
{
    return text ? text : L"";
}

std::string utcTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    gmtime_r(&now.tv_sec, &parts);
    char seconds[32];
    std::strftime(seconds, sizeof seconds, "%Y-%m-%dT%H:%M:%S", &parts);
    char text[64];
    std::snprintf(text, sizeof text, "%s.%06ldZ", seconds, now.tv_nsec / 1000);
    return text;
}

std::string callText(const char *name, const wchar_t *argument)
{
    return std::string(name) + ' ' + toUtf8(argument);
}

} // namespace

LogStore &LogStore::instance()
{
    static auto *const store = new LogStore;
    return *store;
}

void LogStore::write(const wchar_t *level, const wchar_t *module, const wchar_t *message)
{
    if (m_isSilent) {
        return;
    }
    LogLine line{textOrEmpty(level), textOrEmpty(module), textOrEmpty(message),
                 syscall(SYS_gettid)};
    const Lock lock(m_mutex);
    writeToFile(line);
    record(m_lines, std::move(line));
}

void LogStore::writeToFile(const LogLine &line)
{
    if (!m_file.isOpen()) {
        const std::string folder = makeFolders();
        if (folder.empty()) {
            return;
        }
        m_file.open(folder + '/' + m_logName + ".log");
    }
    // Several processes with the same names write to one file.
    const std::string writer = std::to_string(getpid()) + '/' + std::to_string(line.threadId);
    m_file.append(utcTime() + ' ' + escapedField(line.level) + ' ' + writer + ' ' +
                  escapedField(line.module) + ' ' + escapedMessage(line.message) + '\n');
}

template <typename Entry>
void LogStore::record(std::deque<Entry> &list, Entry entry)
{
    if (!m_isRecording) {
        return;
    }
    list.push_back(std::move(entry));
    if (list.size() > kMostRecords) {
        list.pop_front();
    }
}

void LogStore::setLogName(const wchar_t *name)
{
    const Lock lock(m_mutex);
    record(m_calls, callText("explicitDefineLogName", name));
    m_logName = fileName(name, "log");
    m_file.close();
    // By default the product's name, which is part of the path, comes right after this one.
    if (!m_givenBase.empty() || !m_product.empty()) {
        makeFolders();
    }
}

void LogStore::setProductName(const wchar_t *name)
{
    const Lock lock(m_mutex);
    record(m_calls, callText("explicitDefineProductNameForLogPath", name));
    m_product = fileName(name, "");
    m_file.close();
    makeFolders();
}

void LogStore::aboutToQuit()
{
    const Lock lock(m_mutex);
    record(m_calls, std::string("onAboutToQuit"));
    m_file.close();
}

const wchar_t *LogStore::savePath()
{
    const Lock lock(m_mutex);
    record(m_calls, std::string("getVemoLogSavePath"));
    makeFolders();
    const std::string base = baseDirectory();
    if (m_savePathIsNull || base.empty()) {
        return nullptr;
    }
    return m_savePaths.insert(toWide(base)).first->c_str();
}

std::string LogStore::baseDirectory() const
{
    return m_givenBase.empty() ? defaultBaseDirectory(m_product) : m_givenBase;
}

/// Returns the folder of the file; empty when it could not be created.
std::string LogStore::makeFolders() const
{
    if (m_isSilent) {
        return {};
    }
    std::string folder = baseDirectory();
    if (!m_subdirectoryIsMissing && !folder.empty()) {
        folder += '/' + executableName();
    }
    return makeFolder(folder) ? folder : std::string();
}

void LogStore::reset()
{
    m_isSilent = false;
    m_isThrowing = false;
    const Lock lock(m_mutex);
    m_file.forget();
    m_lines.clear();
    m_calls.clear();
    m_givenBase.clear();
    m_subdirectoryIsMissing = false;
    m_savePathIsNull = false;
}

void LogStore::setBaseDirectory(const std::string &directory)
{
    // A relative path is resolved now, because the working directory may change. Not by
    // std::filesystem, which older C++ libraries lack.
    const std::string given(directory, 0, directory.find('\0')); // as the system reads it
    const bool isRelative = !given.empty() && given.front() != '/';
    const std::unique_ptr<char, decltype(&std::free)> here(
        isRelative ? get_current_dir_name() : nullptr, std::free);
    const std::string prefix = here ? here.get() + std::string("/") : std::string();
    const Lock lock(m_mutex);
    m_givenBase = isRelative && !here ? std::string() : prefix + given;
    m_file.close();
}

void LogStore::setSubdirectoryMissing(bool missing)
{
    const Lock lock(m_mutex);
    m_subdirectoryIsMissing = missing;
    m_file.close();
}

std::vector<LogLine> LogStore::lines() const
{
    const Lock lock(m_mutex);
    return {m_lines.begin(), m_lines.end()};
}

std::vector<std::string> LogStore::calls() const
{
    const Lock lock(m_mutex);
    return {m_calls.begin(), m_calls.end()};
}

std::string LogStore::currentFile() const
{
    const Lock lock(m_mutex);
    return m_file.path();
}

} // namespace vemolog
