// The operating-system layer: unique temporary names, file round trips, the large heap, the
// application log, timing.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "pigment/base/vlAppOutput.h"
#include "pigment/base/vlFilename.h"
#include "pigment/base/vlLargeHeap.h"
#include "pigment/base/vlOSFile.h"

namespace {

// A private directory under the temporary directory, removed with its files afterwards.
class TempDir : public ::testing::Test {
  protected:
    void SetUp() override {
        dir = vlOS::uniqueTempName(nullptr, "pigment_base_test_");
        ASSERT_TRUE(vlOS::directoryCreate(dir.c_str()));
    }
    void TearDown() override {
        for (const auto& f : files)
            vlOS::fileDelete(f.c_str());
        EXPECT_TRUE(vlOS::directoryDelete(dir.c_str())) << vlOS::lastErrorText();
    }
    std::string file(const char* prefix) {
        files.push_back(vlOS::uniqueTempName(dir.c_str(), prefix));
        return files.back();
    }
    std::string dir;
    std::vector<std::string> files;
};

TEST_F(TempDir, UniqueNamesAreFreshAndInTheDirectory) {
    std::set<std::string> names;
    for (int i = 0; i < 20; ++i) {
        const std::string name = file("SID");
        EXPECT_EQ(name.rfind(dir + "/SID", 0), 0u) << name;
        EXPECT_FALSE(vlOS::fileExists(name.c_str()));
        EXPECT_TRUE(names.insert(name).second);
        if (i % 2 == 0) {  // existing files must not be answered again
            const int fd = vlOS::fileCreateReadWrite(name.c_str());
            ASSERT_GE(fd, 0);
            vlOS::fileClose(fd);
        }
    }
}

TEST_F(TempDir, WriteSeekReadRoundTrip) {
    const std::string path = file("swap");
    const int fd = vlOS::fileCreateReadWrite(path.c_str());
    ASSERT_GE(fd, 0) << vlOS::lastErrorText();
    EXPECT_TRUE(vlOS::fileExists(path.c_str()));

    // Blocks written at scattered offsets, as a swap file does, and read back in another order.
    const struct {
        std::int64_t offset;
        std::size_t size;
        unsigned char fill;
    } blocks[] = {{65536, 65536, 0x11}, {0, 16384, 0x22}, {200000, 1000, 0x33}, {16384, 7, 0x44}};
    for (const auto& b : blocks) {
        std::vector<unsigned char> data(b.size, b.fill);
        data[0] = static_cast<unsigned char>(b.offset);  // the last byte keeps the fill
        EXPECT_EQ(vlOS::fileSeek(fd, b.offset), b.offset);
        EXPECT_EQ(vlOS::fileWrite(fd, data.data(), data.size()), static_cast<std::int64_t>(b.size));
    }
    for (int k = 3; k >= 0; --k) {
        const auto& b = blocks[k];
        std::vector<unsigned char> data(b.size, 0);
        EXPECT_EQ(vlOS::fileSeek(fd, b.offset), b.offset);
        EXPECT_EQ(vlOS::fileRead(fd, data.data(), data.size()), static_cast<std::int64_t>(b.size));
        EXPECT_TRUE(data[0] == static_cast<unsigned char>(b.offset) && data[b.size - 1] == b.fill);
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
    EXPECT_EQ(vlOS::fileCreateReadWrite((dir + "/missing/x").c_str()), -1);
}

TEST_F(TempDir, AppOutputWritesLines) {
    const std::string path = file("log");
    vlOS::AppOutputStream& out = vlOS::AppOutput::getInstance();
    out("dropped while closed %d", 1);
    ASSERT_TRUE(out.open(path.c_str(), false));
    out("stroke took %d ms", 12);
    out("%s\n", "done");
    out.close();
    ASSERT_TRUE(out.open(path.c_str(), true));
    out("again");
    out.close();
    std::ifstream in(path);
    std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(all, "stroke took 12 ms\ndone\nagain\n");
}

TEST(LargeHeap, AllocFreeZeroedAndWritable) {
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

TEST(Timing, CounterAdvancesWithSleep) {
    const std::uint64_t f = vlOS::performanceFrequency();
    const std::uint64_t t0 = vlOS::performanceCounter();
    vlOS::sleepMs(20);
    const std::uint64_t t1 = vlOS::performanceCounter();
    EXPECT_GE(static_cast<double>(t1 - t0) / static_cast<double>(f), 0.019);
}

}  // namespace
