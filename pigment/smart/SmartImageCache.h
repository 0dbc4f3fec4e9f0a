// The one page cache of the process: it owns the pixel memory of every smart page, keeps the
// residency and scan lists, holds memory under a budget and moves pages to and from swap files.
// Like all of the page system it is used from one thread at a time and takes no locks: a host
// that paints several canvases on several threads serialises every call into them itself.
#pragma once

#include <cstdint>

#include "pigment/smart/PageData.h"
#include "pigment/smart/SwapFile.h"

class SmartImageCache {
  public:
    // The instance, created on first use.
    static SmartImageCache* GetInstance() { return instance_ ? instance_ : Create_(); }
    static int Exists() { return instance_ != nullptr; }
    // Closes and deletes both swap files.
    virtual ~SmartImageCache();
    SmartImageCache(const SmartImageCache&) = delete;
    SmartImageCache& operator=(const SmartImageCache&) = delete;

    // Gives the page memory (evicting others as the budget asks), state ValidInMem, at the head
    // of its list.
    void MakeResident(PageData* page);
    // Frees the page's memory or swap block; state Freed.
    void ReleaseStorage(PageData* page);
    // Moves a resident page to SolidFill (no disk) or to Swapped, and answers true; the caller
    // keeps the buffer. When the swap file cannot take the page, the page stays as it was,
    // resident and dirty, the host is told once, and the answer is false; for a second after
    // such a failure page-outs fail at once, and then one write tries the disk again.
    bool PageOut(PageData* page);
    // Pages a resident page out and frees its buffer, as a budget change does; false when the
    // page stayed in memory.
    bool EvictPage(PageData* page);
    // Brings a Swapped page back into memory. False when its bytes could not be read back: the
    // page is then resident and blank, and the host has been told.
    bool PageIn(PageData* page);
    // Scans the first page of the scan list that is not retained; answers whether one was.
    int ScanOne();
    void SetBudget(std::int64_t bytes);
    void AdjustBudget(int lowMemoryCheck, int stepped);
    // The upkeep for a caller with time to spare: one scan, and the low-memory budget check once
    // the scan list is empty.
    void IdleStep();
    // Stops all paging: sets the fault latch, brings every swapped page back and deletes swap
    // files that hold nothing.
    void PageInAll();

    // ---- Lists ----
    void AddToInMemList(PageData* page);
    void RemoveFromInMemList(PageData* page);
    void MoveToHeadOfInMemList(PageData* page);
    int IsHeadOfInMemList(const PageData* page) const {
        return page == (page->pixelSize == 4 ? bigHead : smallHead);
    }
    void AddToLockedList(PageData* page);
    void RemoveFromLockedList(PageData* page);
    void AddToSwappedList(PageData* page);
    void RemoveFromSwappedList(PageData* page);
    void AddToScanList(PageData* page);
    void RemoveFromScanList(PageData* page);
    // The least recently used evictable page, or null (always null once the fault latch is set).
    PageData* FindBigVictim();
    PageData* FindSmallVictim();
    // Walks every list and both swap files' block lists; a mismatch trips the fault latch.
    // Answers whether all held.
    int CheckLists();

    // ---- Counts ----
    void CountHit() { ++hits; }
    void CountMiss() { ++misses; }
    // Live smart images; when the last one goes, swap files with no used block are deleted.
    void ImageCreated();
    void ImageDestroyed();

    std::int64_t GetBudget() const { return budget; }
    std::int64_t GetBytesInMemory() const { return bytesInMemory; }
    // max(physical memory / 2, 16 MiB).
    static std::int64_t GetCeiling();
    int GetHits() const { return hits; }
    int GetMisses() const { return misses; }
    int GetScanCount() const { return scanCount; }
    int GetBigCount() const { return bigCount; }
    int GetSmallCount() const { return smallCount; }
    int GetLockedCount() const { return lockedCount; }
    int GetSwappedCount() const { return swappedCount; }
    int GetImageCount() const { return imageCount; }
    int GetScanPending() const { return scanPending; }
    const SwapFile& GetSwapFile(int pixelSize) const {
        return pixelSize == 4 ? bigSwap : smallSwap;
    }
    SwapFile& GetSwapFile(int pixelSize) { return pixelSize == 4 ? bigSwap : smallSwap; }
    int IsChecking() const { return checking; }
    // Whether page-outs are held back after a swap failure.
    bool InSwapTrouble() const { return swapRetryAt != 0; }
    // Ends a spell of swap trouble at once, for a host that knows the disk has room again: the
    // next page-out tries the disk without waiting out the second.
    void RetrySwapNow() {
        swapRetryAt = 0;
        swapTroubleTold = false;
    }
    int UsesOldImageId() const { return oldImageId; }

  private:
    SmartImageCache();
    static SmartImageCache* Create_();
    unsigned char* AllocateBig_();
    unsigned char* AllocateSmall_();
    void CheckAfterListChange_() {
        if (checking) CheckLists();
    }
    static void AtExit_();
    // The buffer of a victim that was paged out, or null when it stayed in memory.
    unsigned char* TakeVictimBuffer_(PageData* victim);
    // Starts or continues a spell of swap trouble: page-outs wait a second, the host hears once.
    void SwapFailed_(const SwapFile& file);

    static SmartImageCache* instance_;

    std::int32_t scanPending;
    std::uint32_t signature;
    std::int64_t budget;
    std::int64_t bytesInMemory;
    std::int32_t hits;
    std::int32_t misses;
    std::int32_t scanCount;
    PageData* scanHead;
    std::int32_t bigCount;
    PageData* bigHead;
    PageData* bigTail;
    std::int32_t smallCount;
    PageData* smallHead;
    PageData* smallTail;
    std::int32_t lockedCount;
    PageData* lockedHead;
    std::int32_t swappedCount;
    PageData* swappedHead;
    SwapFile bigSwap;
    SwapFile smallSwap;
    std::int32_t imageCount;

    // Process switches read at creation, and the state of the locked-list warning.
    std::int32_t checking;
    std::int32_t oldImageId;
    std::int32_t lockedWarningArmed;
    std::int32_t lockedWarningSkipped;
    // Swap trouble: the performance counter value before which no page-out tries the disk (0
    // when paging works), and whether the host has heard of this spell.
    std::uint64_t swapRetryAt;
    bool swapTroubleTold;
};

// Runs the list check and asks both swap files to shrink; files never shrink while open, so the
// answer is 0.
int ShrinkSwapFiles();
// Writes the cache statistics, four lines, to the debugger output.
void DumpSwapInfo();
