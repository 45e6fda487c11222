#pragma once

#include <string>
#include <vector>

/// The loader's text for its last error on this thread.
std::string lastLoaderError();

/// The folder that the addon itself was loaded from; empty when the loader does not say.
std::string addonFolder();

/// Version of the C library that runs, for example "2.36".
std::string glibcVersion();

/// Version of the Qt that is loaded, for example "5.15.8"; empty while there is none.
std::string qtVersion();

struct Inspection
{
    std::string path;  ///< where the loader found the library; empty when it did not
    std::string error; ///< then the loader's reason
};

/// Looks for a library by name or path, without keeping it loaded.
/// \param isLoading whether to load it temporarily; otherwise only a loaded library is found.
Inspection inspectLibrary(const std::string &name, bool isLoading);

/// Hands a JSON text to the mock of the account library, which is found only while it is loaded.
/// \return its answer, JSON text; empty without the mock.
std::string askMock(const std::string &command);

/// A closed library that is loaded before the framework looks for it by its name.
struct NamedLibrary
{
    std::string name; ///< under which the framework looks for it, for example "libvemolog.so"
    std::string file;

    bool operator==(const NamedLibrary &other) const { return file == other.file; }
};

/// Keeps libraries loaded for as long as it lives.
class LoadedLibraries
{
public:
    LoadedLibraries() = default;
    ~LoadedLibraries();
    LoadedLibraries(const LoadedLibraries &) = delete;
    LoadedLibraries &operator=(const LoadedLibraries &) = delete;

    /// \return empty, or what is wrong: "preload", a space, the file, a newline and the loader's reason,
    ///         or "name", a space and the file that the loader does not find by that name.
    std::string add(const NamedLibrary &library);

private:
    std::vector<void *> m_handles;
};
