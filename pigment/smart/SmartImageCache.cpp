// The page cache: budget and ceiling, allocation with eviction, page out and in through the swap
// files, the residency and scan lists, checking mode and the exit-time cleanup.
#include "pigment/smart/SmartImageCache.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "pigment/base/vlEnvironment.h"
#include "pigment/base/vlOSFile.h"
#include "pigment/base/vlString.h"
#include "pigment/frame/PigmentCallbacks.h"
#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/SmartImgPage.h"

SmartImageCache* SmartImageCache::instance_ = nullptr;

namespace {

constexpr std::int64_t kMiB = 0x100000;
constexpr std::int64_t kFloor = 16 * kMiB;
constexpr int kBigBytes = kPagePixels * 4;
constexpr int kSmallBytes = kPagePixels;
// Room past the last pixel for the one-past-the-end row and column that DrawHorizLine accepts.
constexpr std::size_t kSlackBytes = 4 * (kPageEdge + 1);

std::int64_t rememberedTotal = 0;

std::int64_t availableMemory() {
    int (*probe)() = PigmentCB()->availPhysicalMemory;
    return probe ? static_cast<std::int64_t>(probe()) * 1024 : 0;
}

int pageBytes(const PageData* page) {
    return page->pixelSize == 4 ? kBigBytes : kSmallBytes;
}

// The residency lists share the page's list links; a page is on a list when it has a
// predecessor or is the head.
bool onList(const PageData* page, const PageData* head) {
    return page->prevInList != nullptr || head == page;
}

void unlink(PageData* page, PageData*& head, PageData** tail) {
    if (page->prevInList)
        page->prevInList->nextInList = page->nextInList;
    else
        head = page->nextInList;
    if (page->nextInList)
        page->nextInList->prevInList = page->prevInList;
    else if (tail)
        *tail = page->prevInList;
    page->nextInList = page->prevInList = nullptr;
}

void pushHead(PageData* page, PageData*& head, PageData** tail) {
    page->prevInList = nullptr;
    page->nextInList = head;
    if (head)
        head->prevInList = page;
    else if (tail)
        *tail = page;
    head = page;
}

void poison(unsigned char* data, int pixelSize, std::uint32_t word, unsigned char byte) {
    if (!data) return;
    if (pixelSize == 4)
        std::fill_n(reinterpret_cast<std::uint32_t*>(data), kPagePixels, word);
    else
        std::memset(data, byte, kPagePixels);
}

// Walks one residency list both ways; entries must be resident, alive and have memory.
bool checkResidentList(const PageData* head, const PageData* tail, int count) {
    int forward = 0;
    for (const PageData* p = head; p; p = p->nextInList) {
        if (p->state != ValidInMem || p->signature != kSmartLiveSignature || !p->data) return false;
        if (++forward > count) return false;
    }
    int backward = 0;
    for (const PageData* p = tail; p; p = p->prevInList)
        if (++backward > count) return false;
    return forward == count && backward == count;
}

bool checkCount(const PageData* head, int count, bool scanLinks) {
    int n = 0;
    for (const PageData* p = head; p; p = scanLinks ? p->nextToScan : p->nextInList)
        if (++n > count) return false;
    return n == count;
}

bool checkBlocks(const SwapBlock* head, int count) {
    int n = 0;
    for (const SwapBlock* b = head; b; b = b->next)
        if (++n > count) return false;
    return n == count;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Creation and exit

SmartImageCache* SmartImageCache::Create_() {
    if (!instance_) instance_ = new SmartImageCache;
    return instance_;
}

SmartImageCache::SmartImageCache()
    : scanPending(0),
      signature(kSmartLiveSignature),
      budget(0),
      bytesInMemory(0),
      hits(0),
      misses(0),
      scanCount(0),
      scanHead(nullptr),
      bigCount(0),
      bigHead(nullptr),
      bigTail(nullptr),
      smallCount(0),
      smallHead(nullptr),
      smallTail(nullptr),
      lockedCount(0),
      lockedHead(nullptr),
      swappedCount(0),
      swappedHead(nullptr),
      bigSwap(kBigBytes),
      smallSwap(kSmallBytes),
      imageCount(0),
      checking(0),
      oldImageId(0),
      lockedWarningArmed(1),
      lockedWarningSkipped(0),
      swapRetryAt(0),
      swapTroubleTold(false) {
    checking = vlOS::hasEnvironment("QUILLON_FL_SMARTIMAGE_CHECKING") ? 1 : 0;
    if (checking) {
        std::printf("SID: SmartImage checking is enabled.\n");
        std::fflush(stdout);
    }
    budget = GetCeiling() / 2;
    CheckLists();
    oldImageId = vlOS::hasEnvironment("QUILLON_FL_USE_OLD_IMAGEID") ? 1 : 0;
    if (oldImageId) {
        std::printf("\nSID: Using Old ImageID method. Performance may be degraded.\n");
        std::printf("Frescoline: to use the new method, unsetenv QUILLON_FL_USE_OLD_IMAGEID\n\n");
        std::fflush(stdout);
    }
    vlOS::atProcessExit(&SmartImageCache::AtExit_);
}

SmartImageCache::~SmartImageCache() {
    bigSwap.CloseAndDelete();
    smallSwap.CloseAndDelete();
    signature = kSmartDeadSignature;
}

void SmartImageCache::AtExit_() {
    if (!instance_) return;
    // No page may move once the files are gone.
    if (FaultLatch == 0) FaultLatch = 1;
    instance_->bigSwap.CloseAndDelete();
    instance_->smallSwap.CloseAndDelete();
}

void SmartImageCache::ImageCreated() {
    ++imageCount;
}

void SmartImageCache::ImageDestroyed() {
    --imageCount;
    if (imageCount > 0) return;
    // A file that still holds pages stays until the process exits.
    if (bigSwap.GetUsedCount() == 0) bigSwap.CloseAndDelete();
    if (smallSwap.GetUsedCount() == 0) smallSwap.CloseAndDelete();
}

// ---------------------------------------------------------------------------------------------
// Budget

std::int64_t SmartImageCache::GetCeiling() {
    if (rememberedTotal <= 0) {
        int (*probe)() = PigmentCB()->totalPhysicalMemory;
        const std::int64_t total = probe ? static_cast<std::int64_t>(probe()) * 1024 : 0;
        if (total > 0) rememberedTotal = total;
    }
    return std::max(rememberedTotal / 2, kFloor);
}

void SmartImageCache::SetBudget(std::int64_t bytes) {
    const std::int64_t clamped = std::clamp(bytes, kFloor, std::max(GetCeiling(), kFloor));
    if (clamped == budget || FaultLatch) return;
    budget = clamped;
    while (bytesInMemory > budget && ScanOne()) {
    }
    if (bytesInMemory > budget) {
        for (int i = 0; i < 3 && bytesInMemory >= budget; ++i) {
            PageData* victim = FindBigVictim();
            if (!victim || !EvictPage(victim)) break;
        }
    }
    if (bytesInMemory > budget) {
        if (PageData* victim = FindSmallVictim()) EvictPage(victim);
    }
}

void SmartImageCache::AdjustBudget(int lowMemoryCheck, int stepped) {
    const std::int64_t available = availableMemory();
    if (lowMemoryCheck && available < 32 * kMiB) {
        std::int64_t lowered = std::min(budget - 16 * kMiB, bytesInMemory);
        SetBudget(std::max(lowered, 32 * kMiB));
        return;
    }
    std::int64_t next = budget;
    if (available > 40 * kMiB)
        next += stepped ? std::min(available - 34 * kMiB, 16 * kMiB) : available - 40 * kMiB;
    SetBudget(next);
}

// ---------------------------------------------------------------------------------------------
// Residency

void SmartImageCache::MakeResident(PageData* page) {
    if (page->state == ValidInMem) return;
    page->data = nullptr;
    // Solids are found while the cache is three quarters full, before anything is swapped.
    const std::int64_t target = budget - (budget >> 2);
    while (bytesInMemory > target && ScanOne()) {
    }
    if (bytesInMemory > budget) AdjustBudget(0, 1);
    page->data = page->pixelSize == 4 ? AllocateBig_() : AllocateSmall_();
    SmartFault(page->data != nullptr);
    page->state = ValidInMem;
    AddToInMemList(page);
}

unsigned char* SmartImageCache::TakeVictimBuffer_(PageData* victim) {
    unsigned char* buffer = victim->data;
    return PageOut(victim) ? buffer : nullptr;
}

unsigned char* SmartImageCache::AllocateSmall_() {
    unsigned char* buffer = nullptr;
    if (bytesInMemory > budget) {
        PageData* victim = smallCount > 0 ? FindSmallVictim() : nullptr;
        if (victim) {
            if ((buffer = TakeVictimBuffer_(victim)) != nullptr) bytesInMemory -= kSmallBytes;
        } else if (bigCount > 0 && (victim = FindBigVictim()) != nullptr) {
            if ((buffer = TakeVictimBuffer_(victim)) != nullptr) {
                bytesInMemory -= kBigBytes;
                auto* shrunk =
                    static_cast<unsigned char*>(std::realloc(buffer, kSmallBytes + kSlackBytes));
                if (!shrunk) std::free(buffer);
                buffer = shrunk;
            }
        } else {
            std::printf("SID: Allocated Small Page when it shouldn't be necessary\n");
        }
        // A victim the swap file could not take stays: the cache runs over budget, quietly.
    }
    if (!buffer) buffer = static_cast<unsigned char*>(std::malloc(kSmallBytes + kSlackBytes));
    if (!buffer) return nullptr;
    bytesInMemory += kSmallBytes;
    // The marks keep memory not yet written from passing for solid.
    buffer[0] = 0x11;
    buffer[127] = 0x22;
    buffer[16256] = 0x33;
    buffer[16383] = 0x44;
    if (checking) std::memset(buffer, 0x35, kSmallBytes);
    return buffer;
}

unsigned char* SmartImageCache::AllocateBig_() {
    unsigned char* buffer = nullptr;
    // A small page is never evicted for a big one.
    if (bytesInMemory > budget && bigCount > 0) {
        if (PageData* victim = FindBigVictim()) {
            if ((buffer = TakeVictimBuffer_(victim)) != nullptr) bytesInMemory -= kBigBytes;
        } else {
            std::printf("SID: Allocated Big Page when it shouldn't be necessary (%d)\n", bigCount);
        }
    }
    if (!buffer) buffer = static_cast<unsigned char*>(std::malloc(kBigBytes + kSlackBytes));
    if (!buffer) return nullptr;
    bytesInMemory += kBigBytes;
    auto* w = reinterpret_cast<std::uint32_t*>(buffer);
    w[0] = 0x11111111;
    w[127] = 0x22222222;
    w[16256] = 0x33333333;
    w[16383] = 0x44444444;
    if (checking) std::fill_n(w, kPagePixels, 0xff10ff10u);
    return buffer;
}

void SmartImageCache::ReleaseStorage(PageData* page) {
    SmartFault(page->priority < kRetainedPriority);
    if (page->state == ValidInMem) {
        if (checking) poison(page->data, page->pixelSize, 0xff1010ffu, 0xa5);
        if (page->priority >= kRetainedPriority)
            RemoveFromLockedList(page);
        else
            RemoveFromInMemList(page);
        RemoveFromScanList(page);
        if (page->data) {
            std::free(page->data);
            bytesInMemory -= pageBytes(page);
        }
        page->data = nullptr;
        page->state = Freed;
    } else if (page->state == Swapped) {
        SwapFile& file = page->pixelSize == 4 ? bigSwap : smallSwap;
        file.ReleaseBlock(page->swapBlock);
        RemoveFromSwappedList(page);
        page->swapBlock = nullptr;
        page->state = Freed;
    } else {
        page->data = nullptr;
    }
}

void SmartImageCache::SwapFailed_(const SwapFile& file) {
    swapRetryAt = vlOS::performanceCounter() + vlOS::performanceFrequency();
    if (swapTroubleTold) return;
    swapTroubleTold = true;
    const std::string text = std::string(file.GetLastError()) +
                             "; pages stay in memory, over budget, until the swap files work";
    SwapReport(file.GetDirectory(), text.c_str());
}

bool SmartImageCache::PageOut(PageData* page) {
    std::uint32_t value = 0;
    if (SmartImgPage::IsBodySolid(page, value)) {
        page->fillValue = value;
        RemoveFromInMemList(page);
        RemoveFromScanList(page);
        page->data = nullptr;
        page->state = SolidFill;
        return true;
    }
    // In a spell of trouble the disk is tried once a second, by a single write.
    const bool troubled = swapRetryAt != 0;
    if (troubled && vlOS::performanceCounter() < swapRetryAt) return false;
    SwapFile& file = page->pixelSize == 4 ? bigSwap : smallSwap;
    SwapBlock* block = file.AllocateBlock();
    if (!block || !file.WriteBlock(block, page->data, troubled ? 1 : 4)) {
        file.ReleaseBlock(block);
        SwapFailed_(file);
        CheckAfterListChange_();
        return false;
    }
    swapRetryAt = 0;
    swapTroubleTold = false;
    CheckAfterListChange_();
    // Only now, with the bytes safely out, does the page leave memory.
    RemoveFromInMemList(page);
    RemoveFromScanList(page);
    page->state = Swapped;
    page->swapBlock = block;
    page->data = nullptr;
    AddToSwappedList(page);
    return true;
}

bool SmartImageCache::EvictPage(PageData* page) {
    if (page->state != ValidInMem || page->priority >= kRetainedPriority) return false;
    unsigned char* buffer = page->data;
    if (!PageOut(page)) return false;
    if (buffer) {
        std::free(buffer);
        bytesInMemory -= pageBytes(page);
    }
    return true;
}

bool SmartImageCache::PageIn(PageData* page) {
    if (page->state != Swapped) return true;
    RemoveFromSwappedList(page);
    SwapBlock* block = page->swapBlock;
    SwapFile& file = page->pixelSize == 4 ? bigSwap : smallSwap;
    MakeResident(page);
    const bool read = page->data && block && file.ReadBlock(block, page->data);
    if (!read && page->data) {
        // The bytes are lost; a blank page is at least the same on every read from now on.
        std::memset(page->data, 0, static_cast<size_t>(pageBytes(page)));
        SwapFailed_(file);
    }
    file.ReleaseBlock(block);
    page->swapBlock = nullptr;
    CheckAfterListChange_();
    return read;
}

int SmartImageCache::ScanOne() {
    PageData* page = scanHead;
    while (page && page->readerCount > 0)
        page = page->nextToScan;
    if (!page) return 0;
    SmartImgPage::ScanPage(page, nullptr);
    // A solid page on the list answers at once without leaving it; make sure every scan ends
    // the page's listing so that callers looping on ScanOne always progress.
    RemoveFromScanList(page);
    return 1;
}

void SmartImageCache::IdleStep() {
    if (!FaultLatch) ScanOne();
    if (scanHead) {
        scanPending = 1;
        return;
    }
    scanPending = 0;
    AdjustBudget(1, 0);
}

void SmartImageCache::PageInAll() {
    if (FaultLatch == 0) FaultLatch = 1;
    while (swappedHead)
        PageIn(swappedHead);
    if (bigSwap.GetUsedCount() == 0) bigSwap.CloseAndDelete();
    if (smallSwap.GetUsedCount() == 0) smallSwap.CloseAndDelete();
}

// ---------------------------------------------------------------------------------------------
// Lists

PageData* SmartImageCache::FindBigVictim() {
    if (FaultLatch) return nullptr;
    for (PageData* p = bigTail; p; p = p->prevInList)
        if (p->state == ValidInMem && p->signature == kSmartLiveSignature && p->data &&
            p->readLocks <= 0 && p->writeLocks <= 0)
            return p;
    return nullptr;
}

PageData* SmartImageCache::FindSmallVictim() {
    if (FaultLatch) return nullptr;
    for (PageData* p = smallTail; p; p = p->prevInList)
        if (p->state == ValidInMem && p->signature == kSmartLiveSignature && p->data &&
            p->readLocks <= 0 && p->writeLocks <= 0)
            return p;
    return nullptr;
}

void SmartImageCache::AddToInMemList(PageData* page) {
    if (page->state != ValidInMem) {
        std::printf("SID: Error: Adding a page that's not ValidInMem\n");
        SmartFault(0);
        return;
    }
    // Retained pages live on the locked list.
    if (page->priority >= kRetainedPriority) return;
    if (page->pixelSize == 4) {
        if (onList(page, bigHead)) return;
        pushHead(page, bigHead, &bigTail);
        ++bigCount;
    } else {
        if (onList(page, smallHead)) return;
        pushHead(page, smallHead, &smallTail);
        ++smallCount;
    }
    CheckAfterListChange_();
}

void SmartImageCache::RemoveFromInMemList(PageData* page) {
    if (page->priority >= kRetainedPriority) return;
    if (page->pixelSize == 4) {
        if (!onList(page, bigHead)) return;
        unlink(page, bigHead, &bigTail);
        --bigCount;
    } else {
        if (!onList(page, smallHead)) return;
        unlink(page, smallHead, &smallTail);
        --smallCount;
    }
    CheckAfterListChange_();
}

void SmartImageCache::MoveToHeadOfInMemList(PageData* page) {
    if (page->priority >= kRetainedPriority) return;
    if (page->pixelSize == 4) {
        if (bigHead == page || !onList(page, bigHead)) return;
        unlink(page, bigHead, &bigTail);
        pushHead(page, bigHead, &bigTail);
    } else {
        if (smallHead == page || !onList(page, smallHead)) return;
        unlink(page, smallHead, &smallTail);
        pushHead(page, smallHead, &smallTail);
    }
    CheckAfterListChange_();
}

void SmartImageCache::AddToLockedList(PageData* page) {
    if (onList(page, lockedHead)) return;
    pushHead(page, lockedHead, nullptr);
    ++lockedCount;
    if (lockedCount > 512) {
        if (lockedWarningArmed) {
            std::printf("SID: WARNING -- SmartImage Locked list count = %4d, %3d\n", lockedCount,
                        lockedWarningSkipped);
            std::fflush(stdout);
            lockedWarningArmed = 0;
            lockedWarningSkipped = 0;
        } else if (++lockedWarningSkipped == 258) {
            std::printf("SID: WARNING -- SmartImage Locked list count = %4d, %3d\n", lockedCount,
                        lockedWarningSkipped);
            std::fflush(stdout);
            lockedWarningSkipped = 0;
        }
    }
    CheckAfterListChange_();
}

void SmartImageCache::RemoveFromLockedList(PageData* page) {
    if (!onList(page, lockedHead)) return;
    unlink(page, lockedHead, nullptr);
    --lockedCount;
    if (lockedCount < 256) {
        lockedWarningArmed = 1;
        lockedWarningSkipped = 0;
    }
    CheckAfterListChange_();
}

void SmartImageCache::AddToSwappedList(PageData* page) {
    if (onList(page, swappedHead)) return;
    pushHead(page, swappedHead, nullptr);
    ++swappedCount;
    CheckAfterListChange_();
}

void SmartImageCache::RemoveFromSwappedList(PageData* page) {
    if (!onList(page, swappedHead)) return;
    unlink(page, swappedHead, nullptr);
    --swappedCount;
    CheckAfterListChange_();
}

void SmartImageCache::AddToScanList(PageData* page) {
    // On the list already, or a temporary solid whose memory is only borrowed.
    if (page->scanState != 1) return;
    page->prevToScan = nullptr;
    page->nextToScan = scanHead;
    if (scanHead) scanHead->prevToScan = page;
    scanHead = page;
    page->scanState = 0;
    ++scanCount;
    scanPending = 1;
    CheckAfterListChange_();
}

void SmartImageCache::RemoveFromScanList(PageData* page) {
    if (page->scanState != 0) return;
    if (page->prevToScan)
        page->prevToScan->nextToScan = page->nextToScan;
    else
        scanHead = page->nextToScan;
    if (page->nextToScan) page->nextToScan->prevToScan = page->prevToScan;
    page->nextToScan = page->prevToScan = nullptr;
    page->scanState = 1;
    --scanCount;
    CheckAfterListChange_();
}

int SmartImageCache::CheckLists() {
    const bool ok = checkResidentList(bigHead, bigTail, bigCount) &&
                    checkResidentList(smallHead, smallTail, smallCount) &&
                    checkCount(lockedHead, lockedCount, false) &&
                    checkCount(swappedHead, swappedCount, false) &&
                    checkCount(scanHead, scanCount, true) &&
                    checkBlocks(bigSwap.GetUsedHead(), bigSwap.GetUsedCount()) &&
                    checkBlocks(bigSwap.GetFreeHead(), bigSwap.GetFreeCount()) &&
                    checkBlocks(smallSwap.GetUsedHead(), smallSwap.GetUsedCount()) &&
                    checkBlocks(smallSwap.GetFreeHead(), smallSwap.GetFreeCount());
    SmartFault(ok);
    return ok;
}

// ---------------------------------------------------------------------------------------------
// Exported statistics

int ShrinkSwapFiles() {
    SmartImageCache* cache = SmartImageCache::GetInstance();
    cache->CheckLists();
    int result = cache->GetSwapFile(4).Shrink(0x7fffffff);
    result += cache->GetSwapFile(1).Shrink(0x7fffffff);
    return result;
}

void DumpSwapInfo() {
    SmartImageCache* cache = SmartImageCache::GetInstance();
    char number[32];
    char line[256];
    std::snprintf(line, sizeof(line), "Maximum Cache Size: %s, Hits: %d, Misses: %d.\n",
                  int64ToAscii(cache->GetBudget(), number, sizeof(number)), cache->GetHits(),
                  cache->GetMisses());
    vlOS::debugOutput(line);
    std::snprintf(line, sizeof(line),
                  "In Memory Pages -- Big: %d, Small: %d, Locked: %d, Total Bytes %s\n",
                  cache->GetBigCount(), cache->GetSmallCount(), cache->GetLockedCount(),
                  int64ToAscii(cache->GetBytesInMemory(), number, sizeof(number)));
    vlOS::debugOutput(line);
    std::snprintf(line, sizeof(line), "Dirty Pages on scan list: %d\n", cache->GetScanCount());
    vlOS::debugOutput(line);
    std::snprintf(line, sizeof(line), "Image Count: %d\n", cache->GetImageCount());
    vlOS::debugOutput(line);
}
