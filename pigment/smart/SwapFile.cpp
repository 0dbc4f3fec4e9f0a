// Swap file blocks over the vlOS file calls: directory choice, block reuse, and writes and reads
// that try a few times with short pauses and then answer failure: the library never waits on the
// disk for long, and never asks anyone to press a button.
#include "pigment/smart/SwapFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>

#include "pigment/base/vlEnvironment.h"
#include "pigment/base/vlOSFile.h"
#include "pigment/frame/PigmentCallbacks.h"
#include "pigment/smart/FaultLatch.h"

namespace {

// The pause before retry n (from 1): 10 ms, then four times longer each time.
int retryPauseMs(int n) {
    return 10 << (2 * (n - 1));
}

void unlinkBlock(SwapBlock*& head, SwapBlock* block) {
    if (block->prev)
        block->prev->next = block->next;
    else if (head == block)
        head = block->next;
    if (block->next) block->next->prev = block->prev;
    block->next = block->prev = nullptr;
}

void pushBlock(SwapBlock*& head, SwapBlock* block) {
    block->prev = nullptr;
    block->next = head;
    if (head) head->prev = block;
    head = block;
}

}  // namespace

void SwapReport(const char* directory, const char* error) {
    if (void (*host)(const char*, const char*) = PigmentCB()->swapError) {
        host(directory, error);
        return;
    }
    std::fprintf(stderr, "SID: Swap files in %s: %s\n", directory, error);
    std::fflush(stderr);
}

SwapFile::SwapFile(std::uint32_t size)
    : signature(kSmartLiveSignature),
      fd(-1),
      usedHead(nullptr),
      freeHead(nullptr),
      blockSize(size),
      usedCount(0),
      freeCount(0),
      isOpen(0) {
    path[0] = '\0';
}

SwapFile::~SwapFile() {
    CloseAndDelete();
    signature = kSmartDeadSignature;
}

void SwapFile::Failed_(const char* what) {
    lastError = std::string(what) + " (" + vlOS::lastErrorText() + ")";
}

bool SwapFile::TryCreate_(const std::string& dir) {
    // A name taken meanwhile by someone else is simply passed over; anything else is a failure
    // of the directory.
    for (int attempt = 0; attempt < 16; ++attempt) {
        const std::string name = vlOS::uniqueTempName(dir.c_str(), "SID");
        fd = vlOS::fileCreateExclusive(name.c_str());
        if (fd >= 0) {
            std::snprintf(path, sizeof(path), "%s", name.c_str());
            // Gone from the directory at once: the descriptor keeps the file as long as it is
            // needed, and nothing is left behind whichever way the process ends.
            vlOS::fileDelete(path);
            directory = dir;
            return true;
        }
        if (errno != EEXIST) break;
    }
    Failed_("cannot create a swap file");
    return false;
}

bool SwapFile::Open() {
    if (isOpen) return true;
    // Each named directory that cannot be used is reported once in the life of the process.
    static std::set<std::string> reported;
    // When every directory fails, the first one tried is the one to name: it is where the host
    // meant the files to go.
    std::string firstDir, firstError;
    for (const char* variable : {"SID_TEMP_DIR", "TMP", "TMPDIR", ""}) {
        std::string dir = "/tmp";
        if (*variable && (!vlOS::getEnvironment(variable, dir) || dir.empty())) continue;
        if (vlOS::directoryWritable(dir.c_str())) {
            if (TryCreate_(dir)) {
                isOpen = 1;
                return true;
            }
        } else {
            Failed_("not a directory the swap files can be written in");
            if (*variable && reported.insert(dir).second)
                SwapReport(dir.c_str(),
                           (lastError + ", named by " + variable + "; trying the next").c_str());
        }
        if (firstDir.empty()) firstDir = dir, firstError = lastError;
    }
    directory = firstDir;
    lastError = firstError;
    return false;
}

SwapBlock* SwapFile::AllocateBlock() {
    if (!Open()) return nullptr;
    SwapBlock* block = freeHead;
    if (block) {
        unlinkBlock(freeHead, block);
        --freeCount;
    } else {
        block = new SwapBlock;
        block->size = blockSize;
        block->offset = static_cast<std::int64_t>(usedCount) * blockSize;
    }
    pushBlock(usedHead, block);
    ++usedCount;
    return block;
}

void SwapFile::ReleaseBlock(SwapBlock* block) {
    if (!block) return;
    unlinkBlock(usedHead, block);
    --usedCount;
    pushBlock(freeHead, block);
    ++freeCount;
}

bool SwapFile::WriteBlock(SwapBlock* block, const void* bytes, int attempts) {
    if (FaultLatch) {
        std::printf("SID: Paging Out %d\n", static_cast<int>(FaultLatch));
        std::fflush(stdout);
    }
    for (int attempt = 1;; ++attempt) {
        vlOS::clearLastError();
        block->lastSeek = vlOS::fileSeek(fd, block->offset);
        if (block->lastSeek == block->offset) {
            const std::int64_t written = vlOS::fileWrite(fd, bytes, block->size);
            block->lastWritten = static_cast<std::int32_t>(written);
            if (written == static_cast<std::int64_t>(block->size)) return true;
            // A short count leaves errno clear: the disk filled up part way.
            if (written >= 0 && errno == 0) errno = ENOSPC;
        }
        Failed_("cannot write a page");
        if (attempt >= attempts) return false;
        vlOS::sleepMs(retryPauseMs(attempt));
    }
}

bool SwapFile::ReadBlock(SwapBlock* block, void* bytes) {
    for (int attempt = 1;; ++attempt) {
        vlOS::clearLastError();
        block->lastSeek = vlOS::fileSeek(fd, block->offset);
        if (block->lastSeek == block->offset) {
            const std::int64_t got = vlOS::fileRead(fd, bytes, block->size);
            if (got == static_cast<std::int64_t>(block->size)) return true;
            // Fewer bytes than were written: the file was cut short under us.
            if (got >= 0 && errno == 0) errno = EIO;
        }
        Failed_("cannot read a page back");
        if (attempt >= 3) return false;
        vlOS::sleepMs(retryPauseMs(attempt));
    }
}

void SwapFile::CloseAndDelete() {
    while (freeHead) {
        SwapBlock* block = freeHead;
        freeHead = block->next;
        block->signature = kSmartDeadSignature;
        delete block;
    }
    freeCount = 0;
    if (fd >= 0) vlOS::fileClose(fd);
    fd = -1;
    isOpen = 0;
}

int SwapFile::Shrink(int) {
    return 0;
}
