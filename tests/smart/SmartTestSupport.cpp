// Helpers of the smart page tests; the memory probes are set before any test creates the cache.
#include "SmartTestSupport.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "pigment/frame/PigmentCallbacks.h"
#include "pigment/smart/SmartImageCache.h"

namespace {
const bool probesSet = [] {
    PigmentCB()->totalPhysicalMemory = [] { return kTestTotalKB; };
    PigmentCB()->availPhysicalMemory = [] { return kTestAvailKB; };
    return true;
}();
}  // namespace

void writeContent(SmartImgPage& page, int n, int v) {
    (void)probesSet;
    if (page.IsNull()) page.MakeFilled(0, 4);
    page.Realize(2);
    unsigned char* data = page.GetData();
    if (!data) return;
    if (page.GetPixelSize() == 4) {
        auto* w = reinterpret_cast<std::uint32_t*>(data);
        for (int i = 0; i < kPagePixels; ++i)
            w[i] = contentWord(n, i, v);
    } else {
        for (int i = 0; i < kPagePixels; ++i)
            data[i] = static_cast<unsigned char>(contentWord(n, i, v));
    }
}

bool hasContent(SmartImgPage& page, int n, int v) {
    page.Realize(0);
    const unsigned char* data = page.GetData();
    if (!data) return false;
    if (page.GetPixelSize() == 4) {
        const auto* w = reinterpret_cast<const std::uint32_t*>(data);
        for (int i = 0; i < kPagePixels; ++i)
            if (w[i] != contentWord(n, i, v)) return false;
    } else {
        for (int i = 0; i < kPagePixels; ++i)
            if (data[i] != static_cast<unsigned char>(contentWord(n, i, v))) return false;
    }
    return true;
}

TempDir::TempDir() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/smartswapXXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (mkdtemp(buffer.data())) path = buffer.data();
}

TempDir::~TempDir() {
    for (const std::string& f : files())
        unlink((path + "/" + f).c_str());
    rmdir(path.c_str());
}

std::vector<std::string> TempDir::files() const {
    std::vector<std::string> names;
    if (DIR* dir = opendir(path.c_str())) {
        while (dirent* entry = readdir(dir))
            if (std::strcmp(entry->d_name, ".") && std::strcmp(entry->d_name, ".."))
                names.push_back(entry->d_name);
        closedir(dir);
    }
    return names;
}

void closeSwapFiles() {
    SmartImageCache* cache = SmartImageCache::GetInstance();
    cache->ImageCreated();
    cache->ImageDestroyed();
}
