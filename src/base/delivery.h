#pragma once

#include "base/run.h"
#include "log/guarded.h"
#include "log/logline.h"

/// Runs the body of a function object that the account library calls, possibly late, twice, on any
/// thread, or after the framework was stopped.
///
/// \param run  the run that the function object was made in.
/// \param body returns bool. Not run when its run is over; its exceptions end here, so that none
///             unwinds into the closed library.
/// \return what the body returns; false when it did not run or threw.
template <typename Body>
bool deliverInRun(quint64 run, Body body)
{
    const RunScope scope(run);
    return scope && guarded(body, [] {
               logError("deliverInRun", "exception in a delivery");
               return false;
           });
}
