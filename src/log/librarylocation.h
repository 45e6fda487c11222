#pragma once

/// Writes one warning when a closed library was not taken from the folder of this library.
///
/// The loader looks there first, but a library of the same name that the process has loaded before
/// wins over every folder, and nothing can be done about it from here.
///
/// \param library bare name of a library that is loaded now; one that is not is passed over.
///
/// Thread: host thread.
void warnIfFromElsewhere(const char *library);
