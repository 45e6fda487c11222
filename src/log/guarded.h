#pragma once

#include <cxxabi.h>

/// Runs code of the host or of a closed library. An exception ends here; the forced unwinding of a
/// thread that pthread_exit or pthread_cancel ends passes through, as it must.
///
/// \param caught called after an exception; gives the result instead.
template <typename Body, typename Caught>
// The object of a forced unwinding is null, which the sanitizer takes for a fault.
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
