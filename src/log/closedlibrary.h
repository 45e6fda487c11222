#pragma once

#include <initializer_list>
#include <memory>

/// \file
/// Loads the two closed libraries and finds their functions.
///
/// Each is opened by its name alone. The loader searches the folder of this library first, but uses
/// a library with the same name that the process has already loaded.
///
/// Thread: host thread.

/// A function of a closed library and the variable for its address; null if the library lacks it.
class ClosedFunction
{
public:
    enum Need { Required, Optional };

    template <typename Function>
    ClosedFunction(Function *&function, const char *symbol, Need need)
        : m_function(reinterpret_cast<void **>(&function)), m_symbol(symbol), m_need(need)
    {
    }

    void find(void *library) const;
    const char *symbol() const { return m_symbol; }
    bool isFound() const { return *m_function != nullptr; }
    bool isRequired() const { return m_need == Required; }

private:
    void **m_function;
    const char *m_symbol;
    Need m_need;
};

struct CloseLibrary
{
    void operator()(void *library) const;
};

/// The loader's handle of an open library, which it closes.
using ClosedLibrary = std::unique_ptr<void, CloseLibrary>;

/// \return null after one debug message with the loader's reason.
ClosedLibrary openClosedLibrary(const char *name);

/// Finds all functions, in the given order. What was found is listed in the logging category
/// "zelectronframework.libraries" at debug level; zefhost reads it there.
/// \return false when one that is required is missing.
[[nodiscard]] bool findFunctions(void *library, const char *name,
                                 std::initializer_list<ClosedFunction> functions);

/// Logs one warning when a library was not loaded from the folder of this library, or when its file
/// there is a symbolic link to another folder. A library that is not loaded is skipped.
void warnIfFromElsewhere(const char *name);
