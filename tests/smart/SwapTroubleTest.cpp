// Swap files in trouble: a full disk, a file that cannot be made, a read that fails, directories
// that cannot be used, and processes that end mid-paint. The library never waits long and never
// prompts, tells the host once a spell, keeps every pixel it still holds, and leaves no file.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "SmartTestSupport.h"
#include "pigment/base/vlOSFile.h"
#include "pigment/frame/PigmentCallbacks.h"

namespace {

struct Report {
    std::string directory, error;
};
std::vector<Report> reports;

void collect(const char* directory, const char* error) {
    reports.push_back({directory, error});
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Pages of a canvas, one distinct pattern each, in a row of n pages from the origin.
void paintPages(ilImage& canvas, int first, int n) {
    for (int p = first; p < first + n; ++p)
        paint(canvas, p * kPageEdge, 0, kPageEdge, kPageEdge, p);
}

int pagesPainted(ilImage& canvas, int n) {
    int right = 0;
    for (int p = 0; p < n; ++p)
        right += painted(canvas, p * kPageEdge, 0, kPageEdge, kPageEdge, p);
    return right;
}

// The host's swap callback collects; faults injected into the file layer are lifted at the end.
class SwapTrouble : public LatchClear {
  protected:
    void SetUp() override {
        LatchClear::SetUp();
        reports.clear();
        PigmentCB()->swapError = collect;
    }
    void TearDown() override {
        vlOS::setFileFaultsForTest(0, 0, 0);
        cache()->RetrySwapNow();
        PigmentCB()->swapError = nullptr;
        LatchClear::TearDown();
    }
};

// The budget holds 256 big pages; 600 pages of a canvas on a full disk stay in memory, the host
// hears once, nothing is printed, and paging resumes a second after space returns.
TEST_F(SwapTrouble, ACanvasOnAFullDiskKeepsEveryPixelAndPagesOutWhenSpaceReturns) {
    SwapScope swap;
    constexpr int kPages = 600;
    {
        ilSmartImage canvas(clearFill());
        vlOS::setFileFaultsForTest(0, ENOSPC, 0);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const auto start = std::chrono::steady_clock::now();
        paintPages(canvas, 0, kPages);
        const double spent = secondsSince(start);
        const std::string said =
            testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
        EXPECT_EQ(said, "");
        EXPECT_LT(spent, 5.0) << "no long waits on a full disk";
        ASSERT_EQ(reports.size(), 1u);
        EXPECT_EQ(reports[0].directory, swap.dir.path);
        EXPECT_NE(reports[0].error.find("cannot write a page (No space left on device)"),
                  std::string::npos)
            << reports[0].error;
        EXPECT_EQ(cache()->GetSwappedCount(), 0);
        EXPECT_GT(cache()->GetBytesInMemory(), cache()->GetBudget()) << "over budget, by design";
        EXPECT_TRUE(cache()->InSwapTrouble());
        EXPECT_EQ(pagesPainted(canvas, kPages), kPages);

        // Space returns: within a second the next page-out tries the disk again and succeeds.
        vlOS::setFileFaultsForTest(0, 0, 0);
        std::this_thread::sleep_for(std::chrono::milliseconds(1100));
        paintPages(canvas, kPages, 8);
        EXPECT_FALSE(cache()->InSwapTrouble());
        EXPECT_GT(cache()->GetSwappedCount(), 0);
        EXPECT_EQ(pagesPainted(canvas, kPages), kPages);
        EXPECT_EQ(reports.size(), 1u);
    }
    EXPECT_TRUE(swap.dir.files().empty());
}

// Without a host callback the library says it in one line on standard error; a swap file that
// cannot be made at all is a spell of trouble like a full disk.
TEST_F(SwapTrouble, AFileThatCannotBeMadeIsReportedInOneLine) {
    SwapScope swap;
    PigmentCB()->swapError = nullptr;
    vlOS::setFileFaultsForTest(EACCES, 0, 0);
    testing::internal::CaptureStderr();
    {
        ilSmartImage canvas(clearFill());
        paintPages(canvas, 0, 300);
        EXPECT_EQ(pagesPainted(canvas, 300), 300);
        EXPECT_FALSE(cache()->GetSwapFile(4).IsOpen());
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "SID: Swap files in " + swap.dir.path +
                  ": cannot create a swap file (Permission denied); pages stay in memory, over "
                  "budget, until the swap files work\n");
}

TEST_F(SwapTrouble, AReadThatFailsEndsInABlankPageAndOneReport) {
    SwapScope swap;
    SmartImgPage lost, kept;
    writeContent(lost, 5);
    writeContent(kept, 6);
    cache()->EvictPage(lost.GetPageData());
    cache()->EvictPage(kept.GetPageData());
    ASSERT_EQ(lost.GetState(), Swapped);
    vlOS::setFileFaultsForTest(0, 0, EIO);
    const auto start = std::chrono::steady_clock::now();
    lost.Realize(0);
    EXPECT_LT(secondsSince(start), 1.0);
    EXPECT_EQ(lost.GetState(), ValidInMem);
    bool blank = true;
    for (int i = 0; i < kPagePixels; ++i)
        blank = blank && lost.GetPixel(i & 127, i >> 7) == 0;
    EXPECT_TRUE(blank);
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_NE(reports[0].error.find("cannot read a page back (Input/output error)"),
              std::string::npos);
    vlOS::setFileFaultsForTest(0, 0, 0);
    EXPECT_TRUE(hasContent(kept, 6)) << "other pages read back once the disk recovers";
    lost.UnRef(1);
    kept.UnRef(1);
    closeSwapFiles();
}

// Restores the three directory variables as they were.
class Environment {
  public:
    Environment() {
        for (int i = 0; i < 3; ++i) {
            const char* v = std::getenv(kNames[i]);
            had[i] = v != nullptr;
            if (v) saved[i] = v;
        }
    }
    ~Environment() {
        for (int i = 0; i < 3; ++i)
            had[i] ? setenv(kNames[i], saved[i].c_str(), 1) : unsetenv(kNames[i]);
    }
    static constexpr const char* kNames[3] = {"SID_TEMP_DIR", "TMP", "TMPDIR"};

  private:
    bool had[3];
    std::string saved[3];
};

// The directory is the first usable one of SID_TEMP_DIR, TMP, TMPDIR and /tmp; an unset or empty
// variable is passed over quietly, a named directory that cannot be used is reported once, and
// the environment is only ever read.
TEST_F(SwapTrouble, TheSwapDirectoryIsTheFirstUsableOne) {
    Environment restore;
    TempDir a, b;
    const std::string missing = a.path + "/missing", file = a.path + "/plain";
    std::ofstream(file) << "not a directory";
    const char* unset = nullptr;
    const std::string empty;
    const struct {
        const char *sid, *tmp, *tmpdir;
        std::string chosen;
        std::vector<std::string> reported;
    } rows[] = {
        {a.path.c_str(), b.path.c_str(), unset, a.path, {}},
        {missing.c_str(), b.path.c_str(), unset, b.path, {missing}},
        {missing.c_str(), b.path.c_str(), a.path.c_str(), b.path, {}},  // reported already
        {unset, empty.c_str(), a.path.c_str(), a.path, {}},
        {file.c_str(), unset, b.path.c_str(), b.path, {file}},
        {unset, unset, unset, "/tmp", {}},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(r.chosen);
        const char* values[3] = {r.sid, r.tmp, r.tmpdir};
        for (int i = 0; i < 3; ++i)
            values[i] ? setenv(Environment::kNames[i], values[i], 1)
                      : unsetenv(Environment::kNames[i]);
        reports.clear();
        SmartImgPage page;
        writeContent(page, 3);
        cache()->EvictPage(page.GetPageData());
        EXPECT_EQ(page.GetState(), Swapped);
        EXPECT_EQ(std::string(cache()->GetSwapFile(4).GetDirectory()), r.chosen);
        std::vector<std::string> named;
        for (const Report& report : reports)
            named.push_back(report.directory);
        EXPECT_EQ(named, r.reported);
        for (int i = 0; i < 3; ++i) {
            const char* now = std::getenv(Environment::kNames[i]);
            EXPECT_EQ(now ? std::string(now) : "-", values[i] ? values[i] : "-");
        }
        page.UnRef(1);
        closeSwapFiles();
    }
}

// A child that pages a canvas out to dir and then waits, or leaves, as it is told; it reports the
// pages it swapped through the pipe.
void pageOutInChild(const std::string& dir, int pipeOut, bool exitAfter) {
    setenv("SID_TEMP_DIR", dir.c_str(), 1);
    ilSmartImage* canvas = new ilSmartImage(clearFill());
    paintPages(*canvas, 0, 300);
    const int swapped = cache()->GetSwappedCount();
    if (write(pipeOut, &swapped, sizeof swapped) != sizeof swapped) std::_Exit(3);
    if (exitAfter) std::exit(0);  // the canvas is left to the exit handler on purpose
    for (;;)
        pause();
}

// Whichever way the process ends, killed mid-paint or leaving normally, no swap file is left; and
// while it lives the file has no name in the directory.
TEST(SwapFiles, NothingIsLeftWhenTheProcessEnds) {
    for (bool killed : {true, false}) {
        SCOPED_TRACE(killed ? "killed" : "exited");
        TempDir dir;
        // The child inherits the cache: it must not inherit a swap file of this process too.
        closeSwapFiles();
        ASSERT_FALSE(cache()->GetSwapFile(4).IsOpen());
        ASSERT_FALSE(cache()->GetSwapFile(1).IsOpen());
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        std::fflush(nullptr);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            close(fds[0]);
            pageOutInChild(dir.path, fds[1], !killed);
        }
        close(fds[1]);
        int swapped = 0;
        ASSERT_EQ(read(fds[0], &swapped, sizeof swapped), static_cast<ssize_t>(sizeof swapped));
        close(fds[0]);
        EXPECT_GT(swapped, 0) << "the child paged out";
        EXPECT_TRUE(dir.files().empty()) << "unlinked while in use";
        if (killed) kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(killed ? WIFSIGNALED(status) : WIFEXITED(status) && WEXITSTATUS(status) == 0);
        EXPECT_TRUE(dir.files().empty());
    }
}

}  // namespace
