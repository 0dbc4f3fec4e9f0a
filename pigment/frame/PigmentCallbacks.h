// The host's table of callbacks: timers, the page watermark, physical memory probes, the stamp
// opacity test, the curve operations and swap trouble. The host fills it before its first smart
// image exists.
#pragma once

struct PigmentCallbacks {
    // Starts a repeating timer of interval milliseconds calling fn(arg); answers its id.
    int (*startTimer)(int interval, void (*fn)(void*), void* arg);
    void (*stopTimer)(int id);
    // Marks one page of pixels; the image's width and height come last.
    void (*applyWatermark)(void* pageData, int pageX, int pageY, int w, int h, int imageW,
                           int imageH);
    void* reserved;
    // Physical memory of the machine and memory available now, in kilobytes.
    int (*totalPhysicalMemory)();
    int (*availPhysicalMemory)();
    int (*isOpacityMunged)(void* stamp);
    // The curve operations of the path interpolation, typed by their user.
    void* curve[8];
    // Trouble with the swap files: directory names where they were to be, error says what went
    // wrong and what the library does about it. Called once for each spell of trouble; when
    // null, the library prints one line on standard error.
    void (*swapError)(const char* directory, const char* error);
};

// The one process-wide table, all entries null until the host sets them.
PigmentCallbacks* PigmentCB();
