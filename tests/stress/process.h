#pragma once

/// What this process holds of the system's resources.
struct ProcessFigures
{
    long residentKib = 0;
    long heapKib = 0; ///< allocated and not freed
    int threads = 0;
    int descriptors = 0;

    static ProcessFigures now();
};

/// Whether memory figures mean anything: a sanitizer keeps freed memory, an emulator its
/// translations.
bool isMemoryMeasurable();
