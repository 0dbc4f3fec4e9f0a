// Swap file blocks over the vlOS file calls: directory choice, block reuse, and the write and read
// loops with their messages.
#include "pigment/smart/SwapFile.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "pigment/base/vlEnvironment.h"
#include "pigment/base/vlFilename.h"
#include "pigment/base/vlOSFile.h"
#include "pigment/smart/FaultLatch.h"

void (*SwapFile::WriteRetryHook)(int attempt) = nullptr;

namespace {

// The failure of the last Open, kept for a debugger; nothing shows it.
char openErrorText[1200];

const char kWriteError[] =
    "An error has been encountered while writing to\nan Image Swap File. The error is:\n%s\nTry to "
    "free up some disk space,\nand Press Yes to retry -- or to abort, press No\nSaving your canvas "
    "is recommended after this situation.";

const char kReadError[] =
    "An error has been encountered while reading from\nan Image Swap File. The error is:\n%s\n"
    "BytesRead = %d, ObjectSize = %d, FilePos = %d\n,written = %d\nPress Yes to retry -- or to "
    "abort, press No\nSaving your canvas is recommended after this situation.";

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

bool SwapFile::TryCreate_(const char* directory, const char* prefix) {
    const std::string name = vlOS::uniqueTempName(directory, prefix);
    std::snprintf(path, sizeof(path), "%s", name.c_str());
    vlOS::fileDelete(path);
    fd = vlOS::fileCreateReadWrite(path);
    return fd >= 0;
}

void SwapFile::Open() {
    if (isOpen) return;
    // SID_TEMP_DIR wins over TMP by standing in for it while the name is chosen.
    std::string sidTemp, savedTmp;
    bool rememberTmp = false, hadTmp = false;
    if (vlOS::getEnvironment("SID_TEMP_DIR", sidTemp)) {
        rememberTmp = true;
        hadTmp = vlOS::getEnvironment("TMP", savedTmp);
        vlOS::setEnvironment("TMP", sidTemp.c_str());
    }
    std::string directory;
    if (!vlOS::getEnvironment("TMP", directory) || directory.empty())
        directory = vlOS::getTempDirectory().str();

    bool created = TryCreate_(directory.c_str(), "SID");
    if (!created) created = TryCreate_(vlOS::getTempDirectory().str().c_str(), "SID");
    if (!created) created = TryCreate_("/tmp", "SIDTMP");

    if (rememberTmp) {
        if (hadTmp)
            vlOS::setEnvironment("TMP", savedTmp.c_str());
        else
            vlOS::unsetEnvironment("TMP");
    }
    if (!created)
        std::snprintf(openErrorText, sizeof(openErrorText), "SwapFile::Open: (%s) Error: %s", path,
                      vlOS::lastErrorText());
    if (!created) path[0] = '\0';
    isOpen = fd > 0 ? 1 : 0;
}

SwapBlock* SwapFile::AllocateBlock() {
    Open();
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
    Open();
    unlinkBlock(usedHead, block);
    --usedCount;
    pushBlock(freeHead, block);
    ++freeCount;
}

void SwapFile::WriteBlock(SwapBlock* block, const void* bytes) {
    vlOS::clearLastError();
    if (FaultLatch) {
        std::printf("SID: Paging Out %d\n", static_cast<int>(FaultLatch));
        std::fflush(stdout);
    }
    // No limit and no pause: the page stays resident until its bytes are safely out.
    for (int attempt = 1;; ++attempt) {
        block->lastSeek = vlOS::fileSeek(fd, block->offset);
        if (block->lastSeek == block->offset) {
            const std::int64_t written = vlOS::fileWrite(fd, bytes, block->size);
            block->lastWritten = static_cast<std::int32_t>(written);
            if (written == static_cast<std::int64_t>(block->size)) return;
        }
        std::printf(kWriteError, vlOS::lastErrorText());
        std::printf("\n");
        std::fflush(stdout);
        if (WriteRetryHook) WriteRetryHook(attempt);
    }
}

int SwapFile::ReadBlock(SwapBlock* block, void* bytes) {
    Open();
    std::int64_t got = 0;
    for (int attempt = 0; attempt < 10; ++attempt) {
        vlOS::clearLastError();
        block->lastSeek = vlOS::fileSeek(fd, block->offset);
        got = 0;
        if (block->lastSeek == block->offset) {
            got = vlOS::fileRead(fd, bytes, block->size);
            if (got == static_cast<std::int64_t>(block->size)) break;
        }
        std::printf(kReadError, vlOS::lastErrorText(), static_cast<int>(got),
                    static_cast<int>(block->size), static_cast<int>(block->lastSeek),
                    static_cast<int>(block->lastWritten));
        std::printf("\n");
        std::fflush(stdout);
    }
    return static_cast<int>(got);
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
    if (path[0]) {
        vlOS::fileSetNormalAttributes(path);
        vlOS::fileDelete(path);
        path[0] = '\0';
    }
    isOpen = 0;
}

int SwapFile::Shrink(int) {
    return 0;
}
