#include "FuzzSupport.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "pigment/base/vlOSFile.h"
#include "pigment/frame/PigmentCallbacks.h"
#include "pigment/smart/SmartImageCache.h"

void fuzzFail(const char* target, const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", target, what.c_str());
    std::fflush(stderr);
    std::abort();
}

void fuzzHost() {
    static const bool ready = [] {
        PigmentCB()->totalPhysicalMemory = [] { return 16 * 1024; };
        PigmentCB()->availPhysicalMemory = [] { return 1024; };
        // A full disk is part of the traffic; its reports would only fill the log.
        PigmentCB()->swapError = [](const char*, const char*) {};
        // Swap files are unlinked as they are made, so the directory stays empty; it goes at exit.
        static const std::string dir = vlOS::uniqueTempName(nullptr, "pigment_fuzz");
        vlOS::directoryCreate(dir.c_str());
        setenv("SID_TEMP_DIR", dir.c_str(), 1);
        std::atexit([] { vlOS::directoryDelete(dir.c_str()); });
        SmartImageCache::GetInstance()->SetBudget(0);  // clamps to the floor
        return true;
    }();
    (void)ready;
}
