// The page cache under a 16 MiB ceiling: paging to swap and back, solids without disk, block
// reuse, swap file lifetime, checking mode, statistics and warnings.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <random>

#include "SmartTestSupport.h"
#include "pigment/frame/PigmentCallbacks.h"
#include "support/TestImage.h"

namespace {

constexpr std::int64_t kMiB = 1 << 20;

// Each test gets its own swap directory, and leaves the cache with no page and no swap file.
class SwapCache : public LatchClear {
  protected:
    void SetUp() override {
        ASSERT_FALSE(swap.dir.path.empty());
        ASSERT_EQ(cache()->GetBudget(), 16 * kMiB);
    }
    void TearDown() override {
        for (SmartImgPage& page : pages)
            page.UnRef(1);
        pages.clear();
        closeSwapFiles();
        EXPECT_TRUE(swap.dir.files().empty());
        LatchClear::TearDown();
    }
    SmartImgPage& newPage(int pixelSize) {
        pages.emplace_back();
        pages.back().MakeFilled(0, pixelSize);
        return pages.back();
    }

    SwapScope swap;
    std::deque<SmartImgPage> pages;
};

TEST_F(SwapCache, PagesRoundTripThroughSwapUnderBudget) {
    const int bigPages = 1200, smallPages = 1600, total = bigPages + smallPages;
    std::vector<int> version(total, 0);
    std::int64_t worstExcess = 0;
    auto watch = [&] {
        worstExcess = std::max(worstExcess, cache()->GetBytesInMemory() - cache()->GetBudget());
    };
    for (int n = 0; n < total; ++n) {
        writeContent(newPage(n < bigPages ? 4 : 1), n);
        watch();
    }
    EXPECT_GT(cache()->GetSwappedCount(), total / 2);
    EXPECT_TRUE(cache()->GetSwapFile(4).IsOpen() && cache()->GetSwapFile(1).IsOpen());

    std::mt19937 random(12345);
    const int missesBefore = cache()->GetMisses();
    for (int step = 0; step < 6000; ++step) {
        const int n = static_cast<int>(random() % total);
        switch (random() % 4) {
            case 0:
                writeContent(pages[n], n, ++version[n]);
                break;
            case 1:
                pages[n].Realize(1);  // modify access keeps the content
                ASSERT_TRUE(hasContent(pages[n], n, version[n])) << n;
                break;
            default:
                ASSERT_TRUE(hasContent(pages[n], n, version[n])) << n;
        }
        watch();
    }
    EXPECT_GT(cache()->GetMisses(), missesBefore + 1000);
    for (int n = total - 1; n >= 0; --n)
        ASSERT_TRUE(hasContent(pages[n], n, version[n])) << n;
    // Allocation evicts before it adds, so memory exceeds the budget by at most a page.
    EXPECT_LE(worstExcess, 2 * 65536);
    EXPECT_EQ(cache()->GetBudget(), 16 * kMiB);
}

TEST_F(SwapCache, SolidPagesLeaveWithoutDisk) {
    for (int n = 0; n < 600; ++n) {
        SmartImgPage& page = newPage(4);
        page.Realize(2);
        std::fill_n(reinterpret_cast<std::uint32_t*>(page.GetData()), kPagePixels,
                    static_cast<std::uint32_t>(n * 7919));
    }
    // A solid resident page that is evicted directly leaves without disk as well.
    SmartImgPage& last = newPage(1);
    last.Realize(2);
    std::memset(last.GetData(), 0x42, kPagePixels);
    cache()->EvictPage(last.GetPageData());
    EXPECT_EQ(last.GetState(), SolidFill);
    EXPECT_EQ(last.GetFillValue(), 0x42u);

    EXPECT_FALSE(cache()->GetSwapFile(4).IsOpen());
    EXPECT_FALSE(cache()->GetSwapFile(1).IsOpen());
    EXPECT_TRUE(swap.dir.files().empty());
    EXPECT_EQ(cache()->GetSwappedCount(), 0);
    for (int n = 0; n < 600; ++n)
        ASSERT_EQ(pages[n].GetPixel(n % 128, 5), static_cast<std::uint32_t>(n * 7919)) << n;
}

TEST_F(SwapCache, FreedBlocksAreReusedAndFilesFollowImages) {
    cache()->ImageCreated();
    SmartImgPage& page = newPage(4);
    writeContent(page, 1);
    SwapFile& file = cache()->GetSwapFile(4);
    for (int round = 0; round < 3; ++round) {
        cache()->EvictPage(page.GetPageData());
        EXPECT_EQ(page.GetState(), Swapped);
        EXPECT_EQ(file.GetUsedCount(), 1);
        EXPECT_EQ(file.GetFreeCount(), 0) << "the freed block is taken again";
        if (round == 2) break;
        EXPECT_TRUE(hasContent(page, 1));
        EXPECT_EQ(file.GetFreeCount(), 1);
    }
    // The file was made in the swap directory and unlinked at once: nothing stands there.
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(std::string(file.GetDirectory()), swap.dir.path);
    EXPECT_EQ(std::string(file.GetPath()).rfind(swap.dir.path + "/SID", 0), 0u);
    EXPECT_TRUE(swap.dir.files().empty());

    // The last image going keeps a file that still holds a page, and closes it once none does.
    cache()->ImageDestroyed();
    EXPECT_TRUE(file.IsOpen());
    EXPECT_TRUE(hasContent(page, 1));
    cache()->ImageCreated();
    cache()->ImageDestroyed();
    EXPECT_FALSE(file.IsOpen());
}

TEST_F(SwapCache, AllocationOverBudgetReusesBuffers) {
    // Fill to one big page over the budget with pages that are not solid.
    const int bigPages = static_cast<int>(cache()->GetBudget() / 65536) + 1;
    for (int n = 0; n < bigPages; ++n)
        writeContent(newPage(4), n);
    ASSERT_GT(cache()->GetBytesInMemory(), cache()->GetBudget());
    testing::internal::CaptureStdout();
    const std::int64_t before = cache()->GetBytesInMemory();
    newPage(1).Realize(2);  // takes the buffer of the least recently used big page
    EXPECT_EQ(pages[0].GetState(), Swapped);
    EXPECT_TRUE(pages[bigPages - 1].IsInMemory());
    EXPECT_EQ(cache()->GetBytesInMemory(), before - 65536 + 16384);
    EXPECT_EQ(cache()->GetSmallCount(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");

    // With every resident page retained nothing can go: a small page says so, a big one is
    // allocated quietly because big pages are only taken from big pages.
    for (SmartImgPage& page : pages)
        if (page.IsInMemory()) page.ForceRetain();
    ASSERT_EQ(cache()->GetBigCount(), 0);
    const int swapped = cache()->GetSwappedCount();
    testing::internal::CaptureStdout();
    writeContent(newPage(1), 99);
    const std::int64_t beforeBig = cache()->GetBytesInMemory();
    writeContent(newPage(4), 100);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "SID: Allocated Small Page when it shouldn't be necessary\n");
    EXPECT_EQ(cache()->GetBytesInMemory(), beforeBig + 65536);
    EXPECT_EQ(cache()->GetSwappedCount(), swapped);
    for (SmartImgPage& page : pages)
        page.DontRetain();
    for (int n = 0; n < bigPages; ++n)
        EXPECT_TRUE(hasContent(pages[n], n)) << n;
}

TEST_F(SwapCache, StatisticsAndShrink) {
    writeContent(newPage(4), 1);
    writeContent(newPage(1), 2);
    testing::internal::CaptureStderr();
    DumpSwapInfo();
    const std::string out = testing::internal::GetCapturedStderr();
    char expected[512];
    std::snprintf(expected, sizeof(expected),
                  "Maximum Cache Size: %lld, Hits: %d, Misses: %d.\n"
                  "In Memory Pages -- Big: %d, Small: %d, Locked: %d, Total Bytes %lld\n"
                  "Dirty Pages on scan list: %d\nImage Count: %d\n",
                  static_cast<long long>(cache()->GetBudget()), cache()->GetHits(),
                  cache()->GetMisses(), cache()->GetBigCount(), cache()->GetSmallCount(),
                  cache()->GetLockedCount(), static_cast<long long>(cache()->GetBytesInMemory()),
                  cache()->GetScanCount(), cache()->GetImageCount());
    EXPECT_EQ(out, expected);
    EXPECT_EQ(ShrinkSwapFiles(), 0);
}

TEST_F(SwapCache, LockedListWarningThresholds) {
    for (int n = 0; n < 800; ++n)
        newPage(1).Realize(2);
    testing::internal::CaptureStdout();
    for (auto [count, retain] : {std::pair(800, true), std::pair(600, false), std::pair(400, true)})
        for (int n = 0; n < count; ++n)
            retain ? pages[n].ForceRetain() : pages[n].DontRetain();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "SID: WARNING -- SmartImage Locked list count =  513,   0\n"
              "SID: WARNING -- SmartImage Locked list count =  771, 258\n"
              "SID: WARNING -- SmartImage Locked list count =  513,   0\n");
    for (SmartImgPage& page : pages)
        page.DontRetain();
    EXPECT_EQ(cache()->GetLockedCount(), 0);
}

// An image that names itself a smart image, or carries the smart type code.
struct NamedImage : TestImage {
    NamedImage(bool typed, const char* description)
        : TestImage(8, 8, 4, ilUChar), text(description) {
        if (typed) imageType = ilSmartType;
    }
    const char* getDefaultDescription() const override { return text; }
    const char* text;
};

// Exit code: bit 0 the messages, bit 1 the old-method answers.
void recogniseByName() {
    testing::internal::CaptureStdout();
    NamedImage named(false, "ilSmartImage"), typed(true, "Image");
    const int answers = IsSmartImage(&named) * 2 + IsSmartImage(&typed);
    const std::string out = testing::internal::GetCapturedStdout();
    const bool said = out ==
                      "\nSID: Using Old ImageID method. Performance may be degraded.\n"
                      "Frescoline: to use the new method, unsetenv QUILLON_FL_USE_OLD_IMAGEID\n\n";
    std::exit((said ? 0 : 1) | (answers == 2 ? 0 : 2));
}

// Exit code: bit 0 the message, bit 1 the poison, bit 2 the list check.
void checkingMode() {
    testing::internal::CaptureStdout();
    SmartImageCache* c = SmartImageCache::GetInstance();
    const std::string out = testing::internal::GetCapturedStdout();
    SmartImgPage small(0, 1), big(0, 4), other(0, 4);
    small.Realize(2);
    big.Realize(2);
    bool poisoned = true;
    for (int i = 0; i < kPagePixels; ++i)
        poisoned = poisoned && small.GetData()[i] == 0x35 &&
                   reinterpret_cast<std::uint32_t*>(big.GetData())[i] == 0xff10ff10u;
    const bool cleanBefore = FaultLatch == 0 && c->CheckLists();
    // A resident list entry that claims another state is caught at the next list change.
    big.GetPageData()->state = SolidFill;
    other.Realize(2);
    const bool caught = FaultLatch != 0;
    big.GetPageData()->state = ValidInMem;
    std::exit((out == "SID: SmartImage checking is enabled.\n" ? 0 : 1) | (poisoned ? 0 : 2) |
              (cleanBefore && caught ? 0 : 4));
}

TEST(SmartCacheSwitches, ReadOnceAtCreation) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    setenv("QUILLON_FL_USE_OLD_IMAGEID", "1", 1);
    EXPECT_EXIT(recogniseByName(), testing::ExitedWithCode(0), "");
    unsetenv("QUILLON_FL_USE_OLD_IMAGEID");
    setenv("QUILLON_FL_SMARTIMAGE_CHECKING", "1", 1);
    EXPECT_EXIT(checkingMode(), testing::ExitedWithCode(0), "");
    unsetenv("QUILLON_FL_SMARTIMAGE_CHECKING");
    GTEST_FLAG_SET(death_test_style, "fast");

    // This process created its cache without either switch: recognition by type code.
    NamedImage named(false, "ilSmartImage"), typed(true, "Image");
    EXPECT_EQ(IsSmartImage(&named), 0);
    EXPECT_EQ(IsSmartImage(&typed), 1);
    EXPECT_EQ(cache()->IsChecking(), 0);
}

int availableKB = 0;

// On a 1 GiB machine: the initial budget, the clamps of SetBudget and the steps of AdjustBudget.
// Exit code: the number of rows that differ.
void budgetSteps() {
    PigmentCB()->totalPhysicalMemory = [] { return 1024 * 1024; };
    PigmentCB()->availPhysicalMemory = [] { return availableKB; };
    SmartImageCache* c = SmartImageCache::GetInstance();
    struct Row {
        int action;  // 0 none, 1 SetBudget(arg MiB), 2 AdjustBudget(low, stepped), 3 trip latch
        int arg, low, stepped, availMiB;
        std::int64_t budgetMiB;
    };
    const Row rows[] = {{0, 0, 0, 0, 0, 256},  {1, 2048, 0, 0, 0, 512}, {1, 1, 0, 0, 0, 16},
                        {2, 0, 0, 1, 100, 32}, {2, 0, 0, 1, 41, 39},    {2, 0, 0, 0, 100, 99},
                        {2, 0, 1, 0, 20, 32},  {2, 0, 1, 0, 36, 32},    {2, 0, 0, 1, 40, 32},
                        {3, 0, 0, 0, 0, 32},   {1, 100, 0, 0, 0, 32}};
    int wrong = 0;
    for (const Row& r : rows) {
        availableKB = r.availMiB * 1024;
        if (r.action == 1) c->SetBudget(r.arg * kMiB);
        if (r.action == 2) c->AdjustBudget(r.low, r.stepped);
        if (r.action == 3) FaultLatch = 1;
        if (c->GetBudget() != r.budgetMiB * kMiB) ++wrong;
    }
    if (SmartImageCache::GetCeiling() != 512 * kMiB) ++wrong;
    std::exit(wrong);
}

TEST(SmartCacheSwitches, BudgetFollowsMemory) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(budgetSteps(), testing::ExitedWithCode(0), "");
    GTEST_FLAG_SET(death_test_style, "fast");
}

}  // namespace
