// The operating-system layer: unique temporary names, file round trips, the large heap, the
// application log, timing.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "pigment/base/vlAppOutput.h"
#include "pigment/base/vlLargeHeap.h"
#include "pigment/base/vlOSFile.h"
#include "support/TempDir.h"

namespace {

TEST(OSFile, UniqueNamesAndWriteSeekReadRoundTrip) {
    TempDir dir;
    std::set<std::string> names;  // fresh names, none of them answered twice
    for (int i = 0; i < 20; ++i) {
        const std::string name = vlOS::uniqueTempName(dir.path.c_str(), "SID");
        EXPECT_EQ(name.rfind(dir.path + "/SID", 0), 0u) << name;
        EXPECT_TRUE(names.insert(name).second && !vlOS::fileExists(name.c_str()));
        if (i % 2 == 0) vlOS::fileClose(vlOS::fileCreateReadWrite(name.c_str()));
    }
    const std::string path = *names.begin();
    const int fd = vlOS::fileCreateReadWrite(path.c_str());
    ASSERT_GE(fd, 0) << vlOS::lastErrorText();

    // Blocks written at scattered offsets, as a swap file does, and read back in another order.
    const struct {
        std::int64_t offset;
        std::size_t size;
    } blocks[] = {{65536, 65536}, {0, 16384}, {200000, 1000}, {16384, 7}};
    for (const auto& b : blocks) {
        std::vector<unsigned char> data(b.size, static_cast<unsigned char>(b.size));
        data[0] = static_cast<unsigned char>(b.offset >> 8);
        EXPECT_EQ(vlOS::fileSeek(fd, b.offset), b.offset);
        EXPECT_EQ(vlOS::fileWrite(fd, data.data(), data.size()), static_cast<std::int64_t>(b.size));
    }
    for (int k = 3; k >= 0; --k) {
        const auto& b = blocks[k];
        std::vector<unsigned char> data(b.size, 0),
            want(b.size, static_cast<unsigned char>(b.size));
        want[0] = static_cast<unsigned char>(b.offset >> 8);
        EXPECT_EQ(vlOS::fileSeek(fd, b.offset), b.offset);
        EXPECT_EQ(vlOS::fileRead(fd, data.data(), data.size()), static_cast<std::int64_t>(b.size));
        EXPECT_EQ(data, want) << b.offset;
    }
    // Reading past the end answers the bytes there were.
    char tail[100];
    ASSERT_EQ(vlOS::fileSeek(fd, 200990), 200990);
    EXPECT_EQ(vlOS::fileRead(fd, tail, sizeof(tail)), 10);
    EXPECT_EQ(vlOS::fileSeek(fd, -1), -1);
    EXPECT_EQ(vlOS::fileClose(fd), 0);

    EXPECT_EQ(vlOS::fileClose(fd), -1) << "already closed";
    vlOS::clearLastError();
    EXPECT_EQ(vlOS::fileRead(fd, tail, 1), -1);
    EXPECT_STRNE(vlOS::lastErrorText(), "");
    EXPECT_TRUE(vlOS::fileSetNormalAttributes(path.c_str()) && vlOS::fileDelete(path.c_str()));
    EXPECT_FALSE(vlOS::fileExists(path.c_str()) || vlOS::fileDelete(path.c_str()));
    EXPECT_EQ(vlOS::fileCreateReadWrite((dir.path + "/missing/x").c_str()), -1);
}

// An exclusive create never opens what already stands at the path: not a file, and not a link
// planted towards a file elsewhere, which keeps its bytes. What it makes is private to the user.
TEST(OSFile, ExclusiveCreateRefusesWhatIsAlreadyThere) {
    TempDir dir;
    const std::string victim = dir.path + "/victim", planted = dir.path + "/planted",
                      existing = dir.path + "/existing", fresh = dir.path + "/fresh";
    std::ofstream(victim) << "precious";
    std::ofstream(existing) << "old";
    ASSERT_EQ(symlink(victim.c_str(), planted.c_str()), 0);
    EXPECT_EQ(vlOS::fileCreateExclusive(planted.c_str()), -1);
    EXPECT_EQ(vlOS::fileCreateExclusive(existing.c_str()), -1);
    std::ifstream in(victim);
    std::string kept;
    in >> kept;
    EXPECT_EQ(kept, "precious");

    const int fd = vlOS::fileCreateExclusive(fresh.c_str());
    ASSERT_GE(fd, 0);
    struct stat st;
    ASSERT_EQ(fstat(fd, &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    vlOS::fileClose(fd);

    EXPECT_TRUE(vlOS::directoryWritable(dir.path.c_str()));
    EXPECT_FALSE(vlOS::directoryWritable(victim.c_str())) << "a file";
    EXPECT_FALSE(vlOS::directoryWritable((dir.path + "/missing").c_str()));
    EXPECT_FALSE(vlOS::directoryWritable(""));
}

TEST(OSFile, AppOutputWritesLinesWhileOpen) {
    TempDir dir;
    const std::string path = dir.path + "/log";
    vlOS::AppOutputStream& out = vlOS::AppOutput::getInstance();
    out("dropped while closed %d", 1);
    ASSERT_TRUE(out.open(path.c_str(), false));
    out("stroke took %d ms", 12);
    out("%s\n", "done");
    out.close();
    ASSERT_TRUE(out.open(path.c_str(), true));  // appending
    out("again");
    out.close();
    std::ifstream in(path);
    std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(all, "stroke took 12 ms\ndone\nagain\n");
}

TEST(OSFile, LargeHeapBlocksAreZeroedAndWritable) {
    EXPECT_EQ(vlOS::largeHeapAlloc(0), nullptr);
    for (std::size_t size : {4096ul, 65536ul * 4 + 12, 1ul << 24}) {
        auto* p = static_cast<unsigned char*>(vlOS::largeHeapAlloc(size));
        ASSERT_NE(p, nullptr);
        EXPECT_TRUE(p[0] == 0 && p[size - 1] == 0) << "zeroed";
        std::memset(p, 0x5A, size);  // and writable to the end: the sanitizer watches
        vlOS::largeHeapFree(p, size);
    }
    vlOS::largeHeapFree(nullptr, 100);
}

TEST(OSFile, CounterAdvancesWithSleep) {
    const std::uint64_t t0 = vlOS::performanceCounter();
    vlOS::sleepMs(20);
    const double seconds = static_cast<double>(vlOS::performanceCounter() - t0) /
                           static_cast<double>(vlOS::performanceFrequency());
    EXPECT_GE(seconds, 0.019);
}

}  // namespace
