#pragma once

/// What this process holds of the system's resources.
struct ProcessFigures
{
    long residentKib = 0;
    int threads = 0;
    int descriptors = 0;

    static ProcessFigures now();
};

/// Whether memory figures mean anything: a sanitizer keeps freed memory, an emulator its
/// translations.
bool isMemoryMeasurable();
