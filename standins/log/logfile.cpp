#include "logfile.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vemolog {

namespace {

constexpr std::size_t kMostBytes = 10000000;

/// Relative paths in the environment are ignored, as for all base directories.
std::string absoluteFromEnvironment(const char *name)
{
    const char *value = secure_getenv(name);
    return value && *value == '/' ? value : "";
}

bool isFolder(const std::string &path)
{
    struct stat status
    {
    };
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

std::string defaultBaseDirectory(const std::string &product)
{
    std::string state = absoluteFromEnvironment("XDG_STATE_HOME");
    if (state.empty()) {
        const std::string home = absoluteFromEnvironment("HOME");
        if (home.empty()) {
            return {};
        }
        state = home + "/.local/state";
    }
    return state + "/vemolog/" + (product.empty() ? "unnamed" : product);
}

std::string executableName()
{
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0) {
        return "unknown";
    }
    const std::string whole(path, static_cast<std::size_t>(length));
    return whole.substr(whole.rfind('/') + 1);
}

bool makeFolder(const std::string &path)
{
    if (path.empty()) {
        return false;
    }
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        // A part that exists is left as it is, also when it may not be written.
        mkdir(path.substr(0, end).c_str(), S_IRWXU);
        if (end == std::string::npos) {
            return isFolder(path);
        }
    }
}

void LogFile::open(const std::string &path)
{
    close();
    // Does not follow a symbolic link and does not block on a pipe in place of the file.
    const int descriptor =
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
               S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        return;
    }
    struct stat status
    {
    };
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
        fchmod(descriptor, S_IRUSR | S_IWUSR) != 0) {
        ::close(descriptor);
        return;
    }
    m_descriptor = descriptor;
    m_path = path;
    m_size = static_cast<std::size_t>(status.st_size);
    m_lineIsBroken = false;
}

void LogFile::close()
{
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

void LogFile::rotate()
{
    const std::string path = m_path;
    const std::string earlier = path + ".1";
    close();
    // A rename over an existing file would write the new one to the disk first, on ext4 for instance.
    unlink(earlier.c_str());
    rename(path.c_str(), earlier.c_str());
    open(path);
}

void LogFile::append(const std::string &line)
{
    if (m_descriptor >= 0 && m_size >= kMostBytes) {
        rotate();
    }
    if (m_descriptor < 0) {
        return;
    }
    if (m_lineIsBroken && !write("\n", 1)) {
        return;
    }
    m_lineIsBroken = false;
    write(line.data(), line.size());
}

bool LogFile::write(const char *data, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t written = ::write(m_descriptor, data + done, size - done);
        if (written > 0) {
            done += static_cast<std::size_t>(written);
            m_size += static_cast<std::size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            m_lineIsBroken = m_lineIsBroken || done > 0;
            return false;
        }
    }
    return true;
}

void LogFile::forget()
{
    close();
    m_path.clear();
}

} // namespace vemolog
