#pragma once

#include <cxxabi.h>

/// Runs code of the host or of a closed library and catches its exceptions. The forced unwinding of
/// a thread that pthread_exit or pthread_cancel ends passes through, as the C library requires.
///
/// \param caught called after an exception; returns the result instead.
template <typename Body, typename Caught>
// The exception object of a forced unwinding is null, which the sanitizer reports.
__attribute__((no_sanitize("undefined"))) auto guarded(Body body, Caught caught) -> decltype(body())
{
    try {
        return body();
    } catch (abi::__forced_unwind &) {
        throw;
    } catch (...) {
        return caught();
    }
}
