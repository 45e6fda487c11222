#pragma once

#include <initializer_list>

/// \file
/// Loads the two closed libraries and finds their functions.
///
/// Each is opened by its bare name. The loader looks in the folder of this library first, but a
/// library of the same name that the process has loaded before wins over every folder.
///
/// Thread: host thread.

/// A function of a closed library and the variable that holds it; null where the library lacks it.
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
    bool isMissing() const { return !isFound() && m_need == Required; }

private:
    void **m_function;
    const char *m_symbol;
    Need m_need;
};

/// \return the loader's handle; null after one debug message with the loader's reason.
void *openClosedLibrary(const char *name);

/// Finds all functions, in the given order. What was found can be seen in the logging category
/// "zelectronframework.libraries", at debug level.
/// \return false when one that is required is missing.
[[nodiscard]] bool findFunctions(void *library, const char *name,
                                 std::initializer_list<ClosedFunction> functions);

/// Writes one warning to the log when a library was not taken from the folder of this library, or
/// when its file there is a link that leads elsewhere. A library that is not loaded is skipped.
void warnIfFromElsewhere(const char *name);
