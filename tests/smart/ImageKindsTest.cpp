// What every image kind owes a caller whatever the arguments: a missing buffer is refused, a tile
// at the integer limits reads the fill and writes nothing, a window never reaches past its edge,
// a write that names one channel twice is refused, and buffers larger than 2^31 bytes are
// addressed right. The kinds: memory, constant, canvas, and windows over each of them.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <climits>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "SmartTestSupport.h"
#include "pigment/frame/ilConstImg.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilSubImg.h"

namespace {

constexpr int kSide = 64;
const unsigned char kFill[4] = {7, 17, 27, 37};
const unsigned char kWindowFill[4] = {70, 71, 72, 73};

using Words = std::vector<std::uint32_t>;

std::uint32_t fillWord(const unsigned char* f) {
    std::uint32_t w;
    std::memcpy(&w, f, 4);
    return w;
}

// The images under test, all four-channel bytes: a memory image and a canvas holding the same
// pattern over kSide x kSide, a constant image, and windows onto them.
class ImageKinds : public LatchClear {
  protected:
    ImageKinds()
        : memory(ilSize(kSide, kSide, 1, 4), ilUChar, ilInterleaved),
          canvas(ilPixel(ilUChar, 4, kFill)),
          constant(ilPixel(ilUChar, 4, kFill)) {
        memory.setFill(ilPixel(ilUChar, 4, kFill));
        paint(memory, 0, 0, kSide, kSide, 1);
        paint(canvas, 0, 0, kSide, kSide, 1);
    }

    struct Kind {
        std::string name;
        ilImage* image;
        bool writable;
        ilImage* input;  // what a window shows; null for the others
    };

    // A window at (4, 4), 8 x 8, onto image, with its own fill.
    ilImage* window(ilImage* image) {
        windows.push_back(std::make_unique<ilSubImg>(image, 4, 4, 8, 8));
        windows.back()->setFill(ilPixel(ilUChar, 4, kWindowFill));
        return windows.back().get();
    }

    std::vector<Kind> kinds() {
        ilImage* inner = window(&memory);
        return {{"memory", &memory, true, nullptr},
                {"constant", &constant, false, nullptr},
                {"canvas", &canvas, true, nullptr},
                {"window on memory", window(&memory), true, &memory},
                {"window on constant", window(&constant), false, &constant},
                {"window on canvas", window(&canvas), true, &canvas},
                {"window on a window", window(inner), true, inner}};
    }

    // Every pixel the images hold, to tell that nothing was touched.
    Words state() {
        Words all(2 * kSide * kSide);
        memory.getTile(0, 0, kSide, kSide, all.data());
        canvas.getTile(0, 0, kSide, kSide, all.data() + kSide * kSide);
        const ilTile bounds = canvas.getBounds();
        all.push_back(static_cast<std::uint32_t>(bounds.x));
        all.push_back(static_cast<std::uint32_t>(bounds.nx));
        return all;
    }

    ilMemoryImg memory;
    ilSmartImage canvas;
    ilConstImg constant;
    std::vector<std::unique_ptr<ilSubImg>> windows;
};

TEST_F(ImageKinds, AMissingBufferIsRefusedAndTouchesNothing) {
    const Words before = state();
    for (const Kind& k : kinds()) {
        SCOPED_TRACE(k.name);
        EXPECT_EQ(k.image->getTile(0, 0, 4, 4, nullptr), ilBadInput);
        EXPECT_EQ(k.image->setTile(0, 0, 4, 4, nullptr), ilBadInput);
        EXPECT_EQ(k.image->getSubTile(1, 1, 2, 2, nullptr, 0, 0, 4, 4), ilBadInput);
        EXPECT_EQ(k.image->setSubTile(1, 1, 2, 2, nullptr, 0, 0, 4, 4), ilBadInput);
    }
    EXPECT_EQ(state(), before);
}

TEST_F(ImageKinds, TilesAtTheIntegerLimitsReadTheFillAndWriteNothing) {
    const ilTile tiles[] = {
        ilTile(INT_MAX - 4, 0, 16, 1),
        ilTile(0, INT_MAX - 2, 1, 8),
        ilTile(INT_MAX - 4, INT_MAX - 4, 16, 16),
        ilTile(INT_MIN, 0, 16, 1),
        ilTile(INT_MIN, INT_MIN, 8, 8),
        ilTile(INT_MAX, INT_MAX, INT_MAX, 1),
    };
    const Words before = state();
    testing::internal::CaptureStdout();  // the canvas reports its cuts at the limit
    for (const Kind& k : kinds()) {
        for (const ilTile& t : tiles) {
            SCOPED_TRACE(k.name + " at " + std::to_string(t.x) + ", " + std::to_string(t.y));
            const size_t n = t.nx == INT_MAX ? 0 : static_cast<size_t>(t.nx) * t.ny;
            if (n == 0) {
                // Too large to hold: only the write is tried, with a buffer that is never read.
                std::uint32_t one = 0;
                k.image->setTile(t.x, t.y, t.nx, t.ny, &one);
                continue;
            }
            Words got(n, 0xdeadbeef);
            EXPECT_EQ(k.image->getTile(t.x, t.y, t.nx, t.ny, got.data()), ilOK);
            EXPECT_EQ(got, Words(n, fillWord(k.input ? kWindowFill : kFill)));
            Words pattern(n, 0x12345678);
            k.image->setTile(t.x, t.y, t.nx, t.ny, pattern.data());
            k.image->fillTile(t.x, t.y, t.nx, t.ny, pattern.data());
        }
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(state(), before);
}

TEST_F(ImageKinds, ATileClippedToNothingByAWindowMovesNothingButTheFill) {
    // 16 x 16 at (20, 20) lies past the 8 x 8 window but inside each input.
    const Words before = state();
    for (const Kind& k : kinds()) {
        if (!k.input) continue;
        SCOPED_TRACE(k.name);
        Words pattern(256, 0x55aa55aa);
        EXPECT_EQ(k.image->setTile(20, 20, 16, 16, pattern.data()), ilOK);
        Words got(256, 0);
        EXPECT_EQ(k.image->getTile(20, 20, 16, 16, got.data()), ilOK);
        EXPECT_EQ(got, Words(256, fillWord(kWindowFill)));
        // A tile that stays partly inside still reaches the input.
        got.assign(4, 0);
        Words inside(1);
        EXPECT_EQ(k.image->getTile(6, 6, 4, 1, got.data()), ilOK);
        k.input->getTile(10, 10, 1, 1, inside.data());
        EXPECT_EQ(got[0], inside[0]);
        EXPECT_EQ(got[2], fillWord(kWindowFill));
    }
    EXPECT_EQ(state(), before);
}

TEST_F(ImageKinds, AWriteNamingOneChannelTwiceIsRefused) {
    int twice[] = {0, 0, 1, 2}, again[] = {3, 1, -1, 1}, reversed[] = {3, 2, 1, 0};
    ilConfig repeated(ilUChar, ilInterleaved, 4, twice),
        repeatedLate(ilUChar, ilInterleaved, 4, again);
    ilConfig fine(ilUChar, ilInterleaved, 4, reversed);
    const Words before = state();
    Words pattern(16, 0x01020304);
    for (const Kind& k : kinds()) {
        if (!k.writable) continue;
        SCOPED_TRACE(k.name);
        EXPECT_EQ(k.image->setTile(0, 0, 4, 4, pattern.data(), &repeated), ilConfigNotInvertible);
        EXPECT_EQ(k.image->setTile(0, 0, 4, 4, pattern.data(), &repeatedLate),
                  ilConfigNotInvertible);
    }
    EXPECT_EQ(state(), before);
    EXPECT_EQ(memory.setTile(0, 0, 4, 4, pattern.data(), &fine), ilOK);
    Words got(1);
    memory.getTile(0, 0, 1, 1, got.data());
    EXPECT_EQ(got[0], 0x04030201u);
}

// A two-channel separate buffer of 60000 x 60000 bytes a plane: its second plane starts 3.6 GB in.
// Only the pages touched are ever backed by memory.
class HugeBuffer {
  public:
    static constexpr std::int64_t kSideOf = 60000;
    HugeBuffer() {
        void* p = mmap(nullptr, bytes(), PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        base_ = p == MAP_FAILED ? nullptr : static_cast<unsigned char*>(p);
    }
    ~HugeBuffer() {
        if (base_) munmap(base_, bytes());
    }
    unsigned char* data() { return base_; }
    unsigned char& at(std::int64_t x, std::int64_t y, int c) {
        return base_[(c * kSideOf + y) * kSideOf + x];
    }
    static size_t bytes() { return static_cast<size_t>(2 * kSideOf * kSideOf); }

  private:
    unsigned char* base_;
};

TEST_F(ImageKinds, BuffersWithPlanesOver2GiBAreAddressedRight) {
    HugeBuffer huge;
    ASSERT_NE(huge.data(), nullptr);
    // The buffer's box ends where the images begin their 4 x 4 corner, so that corner lands in
    // the buffer's last rows and columns.
    const int far = static_cast<int>(HugeBuffer::kSideOf) - 4;
    const int side = static_cast<int>(HugeBuffer::kSideOf);
    int channels[] = {1, 3};
    ilConfig two(ilUChar, ilSeparate, 2, channels);
    for (const Kind& k : kinds()) {
        if (!k.writable) continue;
        SCOPED_TRACE(k.name);
        for (int c = 0; c < 2; ++c)
            for (int j = 0; j < 4; ++j)
                for (int i = 0; i < 4; ++i)
                    huge.at(far + i, far + j, c) =
                        static_cast<unsigned char>(100 + 16 * c + 4 * j + i);
        ASSERT_EQ(k.image->setSubTile(0, 0, 4, 4, huge.data(), -far, -far, side, side, &two), ilOK);
        std::memset(&huge.at(far, far, 0), 0, 4);
        std::memset(&huge.at(far, far, 1), 0, 4);
        ASSERT_EQ(k.image->getSubTile(0, 0, 4, 4, huge.data(), -far, -far, side, side, &two), ilOK);
        for (int c = 0; c < 2; ++c)
            for (int i = 0; i < 4; ++i)
                EXPECT_EQ(huge.at(far + i, far, c), 100 + 16 * c + i) << "channel " << c;
        Words got(1);
        k.image->getTile(1, 0, 1, 1, got.data());
        EXPECT_EQ(got[0] >> 8 & 0xff, 101u);
        EXPECT_EQ(got[0] >> 24, 117u);
    }
}

}  // namespace
