// Value utilities: bit fields, integer ranges and packing, identifiers, strings, file names,
// system information.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "pigment/base/vlBitField.h"
#include "pigment/base/vlFilename.h"
#include "pigment/base/vlIntRange2d.h"
#include "pigment/base/vlString.h"
#include "pigment/base/vlSysInfo.h"
#include "pigment/base/vlUuid.h"

namespace {

TEST(BitField, SetTestOrAndBounds) {
    vlUtil::BitField f(130), g(130), small(3);
    f.setBit(0, true).setBit(64, true).setBit(129, true).setBit(130, true).setBit(-1, true);
    EXPECT_EQ(f.countSet(), 3) << "bits outside the field are ignored";
    EXPECT_TRUE(f.testBit(129) && !f.testBit(130) && !f.testBit(-5));
    f.setBit(64, false);
    g.setBit(5, true);
    f |= g;
    EXPECT_TRUE(f.testBit(5) && !f.testBit(64) && f.countSet() == 3);
    g.setAll();
    EXPECT_EQ(g.countSet(), 130) << "no bits past the end";
    small |= g;
    EXPECT_EQ(small.countSet(), 3) << "only the bits inside the smaller field";
}

TEST(IntRange2d, ContainsWrapClamp) {
    const vlUtil::IntRange2d r(-4, 10, 6, 13);  // x in [-4, 6), y in [10, 13)
    for (int axis : {0, 1})
        for (int64_t v : {-1000, -15, -14, -5, -4, 0, 5, 6, 9, 12, 13, 27, INT_MIN, INT_MAX}) {
            const int64_t lo = r.min(axis), hi = r.max(axis), n = hi - lo;
            SCOPED_TRACE(testing::Message() << "axis " << axis << " value " << v);
            EXPECT_EQ(r.contains(axis, int(v)), v >= lo && v < hi);
            EXPECT_EQ(r.wrap(axis, int(v)), lo + ((v - lo) % n + n) % n);
            EXPECT_EQ(r.clamp(axis, int(v)), std::clamp(v, lo, hi - 1));
        }
    const vlUtil::IntRange2d empty(3, 3, 3, 8);
    EXPECT_EQ(std::pair(empty.wrap(0, 17), empty.clamp(0, -9)), std::pair(3, 3)) << "lo";
}

// Packed boxes keep their sizes, lie inside the answered bounds and do not overlap; the atlas
// is not mostly waste, and a power-of-two atlas has such sides.
TEST(IntRange2d, PackPlacesWithoutOverlapInsideTheBounds) {
    std::mt19937 rng(7);
    for (bool pow2 : {false, true})
        for (int count : {1, 5, 40}) {
            std::vector<vlUtil::IntRange2d> boxes;
            for (int i = 0; i < count; ++i) {
                const int x = int(rng() % 50) - 25, y = int(rng() % 50) - 25;
                boxes.emplace_back(x, y, x + 1 + int(rng() % 30), y + 1 + int(rng() % 30));
            }
            boxes.emplace_back(0, 0, 0, 5);  // empty: takes no room
            const std::vector<vlUtil::IntRange2d> before = boxes;
            const vlUtil::IntRange2d bounds = vlUtil::pack(boxes, pow2);
            long long area = 0;
            for (std::size_t i = 0; i + 1 < boxes.size(); ++i) {
                const vlUtil::IntRange2d& b = boxes[i];
                EXPECT_TRUE(b.width() == before[i].width() && b.height() == before[i].height());
                EXPECT_TRUE(b.min(0) >= 0 && b.min(1) >= 0 && b.max(0) <= bounds.max(0) &&
                            b.max(1) <= bounds.max(1));
                area += static_cast<long long>(b.width()) * b.height();
                for (std::size_t j = 0; j < i; ++j)
                    EXPECT_FALSE(b.min(0) < boxes[j].max(0) && boxes[j].min(0) < b.max(0) &&
                                 b.min(1) < boxes[j].max(1) && boxes[j].min(1) < b.max(1));
            }
            const int w = bounds.width(), h = bounds.height();
            EXPECT_LE(static_cast<long long>(w) * h, (pow2 ? 16 : 4) * area);
            if (pow2) {
                EXPECT_EQ((w & (w - 1)) | (h & (h - 1)), 0);
            }
        }
}

TEST(SysInfo, UuidsAndMachineFigures) {
    vlOS::Uuid a, b;
    EXPECT_TRUE(a.isEmpty() && a == b);
    a.generate();
    b.generate();
    EXPECT_TRUE(!a.isEmpty() && a != b && (a < b || b < a));
    EXPECT_EQ(a.toString().size(), 36u);

    const vlOS::SysInfo& info = vlOS::sysInfo();
    EXPECT_TRUE(info.numCPUs() >= 1 && info.numCPUs() <= 4096);
    EXPECT_GT(info.totalPhysicalMemory(), 64ULL << 20);
    EXPECT_TRUE(info.availPhysicalMemory() > 0 &&
                info.availPhysicalMemory() <= info.totalPhysicalMemory());
}

TEST(Filename, BaseTrunkAndParts) {
    const struct {
        const char *path, *trunk, *dir, *ext;
    } cases[] = {
        {"/a/b/c.txt", "c", "/a/b", "txt"}, {"c.tar.gz", "c.tar", "", "gz"},
        {"/a.b/c", "c", "/a.b", ""},        {".profile", ".profile", "", ""},
        {"/tmp/", "", "/tmp", ""},          {"/x", "x", "/", ""},
        {"name.", "name", "", ""},          {"../..", "..", "..", ""},
    };
    for (const auto& c : cases) {
        const vlOS::Filename f(c.path);
        EXPECT_EQ(f.baseTrunk() + "|" + f.directory() + "|" + f.extension(),
                  std::string(c.trunk) + "|" + c.dir + "|" + c.ext)
            << c.path;
    }
    EXPECT_STREQ(vlOS::Filename(vlString::IString("/d/e.f")).asChar(), "/d/e.f");
    EXPECT_STREQ(vlOS::Filename("/d").appended("x.y").asChar(), "/d/x.y");

    const char* saved = std::getenv("TMPDIR");
    const std::string keep = saved ? saved : "";
    const char* const tmp[][2] = {{nullptr, "/tmp"}, {"", "/tmp"}, {"/var/tmp/", "/var/tmp"}};
    for (const auto& t : tmp) {
        t[0] ? setenv("TMPDIR", t[0], 1) : unsetenv("TMPDIR");
        EXPECT_STREQ(vlOS::getTempDirectory().asChar(), t[1]);
    }
    saved ? setenv("TMPDIR", keep.c_str(), 1) : unsetenv("TMPDIR");
}

TEST(Strings, Int64ToAsciiAndEncodings) {
    const struct {
        long long value;
        const char* text;
    } cases[] = {{0, "0"},
                 {-7, "-7"},
                 {INT64_MAX, "9223372036854775807"},
                 {INT64_MIN, "-9223372036854775808"}};
    for (const auto& c : cases) {
        char buffer[21];
        EXPECT_STREQ(int64ToAscii(c.value, buffer, sizeof(buffer)), c.text);
        EXPECT_STREQ(int64ToAscii(c.value).asChar(), c.text);
    }
    char tiny[3];
    EXPECT_EQ(int64ToAscii(-100, tiny, sizeof(tiny)), nullptr);
    EXPECT_STREQ(tiny, "");

    vlString::CString s("ab");
    s.plusEqual("cd").plusEqual(nullptr).plusEqual(vlString::CString("e"));
    EXPECT_STREQ(s.asChar(), "abcde");

    // UTF-8 is checked on the way in; the bytes come out as they went in.
    const struct {
        const char* bytes;
        bool valid;
    } texts[] = {{"gr\xC3\xBC\xC3\x9F", true},
                 {"\xE2\x82\xAC", true},
                 {"\xC3", false},
                 {"\xC0\xAF", false},
                 {"\xED\xA0\x80", false},
                 {"\xF4\x90\x80\x80", false},
                 {"\xFF", false}};
    for (const auto& t : texts) {
        bool ok = !t.valid;
        vlString::IString is(t.bytes, vlString::UTF8, &ok);
        EXPECT_EQ(ok, t.valid) << t.bytes;
        EXPECT_STREQ(is.asMultibyte(vlString::Multibyte).asChar(), t.bytes);
    }
}

}  // namespace
