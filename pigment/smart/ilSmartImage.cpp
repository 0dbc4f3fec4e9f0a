// Construction, destruction, seeds and dependents, evaluation and the fill of the smart image.
#include "pigment/smart/ilSmartImage.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "pigment/frame/ilData.h"
#include "pigment/smart/FaultLatch.h"
#include "pigment/smart/SmartImageCache.h"

const ilClassList ilSmartImage::classList = {"a", &ilImage::classList};

namespace {

// The fill as the pages hold it: unsigned bytes, one channel or four.
ilPixel byteFill(const ilPixel& source, int channels) {
    ilPixel out(ilUChar, channels, nullptr);
    for (int c = 0; c < channels; ++c)
        out.setElem(c < source.nc() ? source.getElem(c) : 0.0, c);
    return out;
}

ilSmartImage* smartOf(ilImage* image) {
    return image && image->getImageType() == ilSmartType ? dynamic_cast<ilSmartImage*>(image)
                                                         : nullptr;
}

}  // namespace

ilSmartImage::ilSmartImage(ilImage* seed, int a, int b, int, int) {
    SmartFault(a == 0 && b == 0);
    fill = byteFill(ilPixel(), 4);
    CommonInit(seed);
}

ilSmartImage::ilSmartImage(const ilPixel& pixel) {
    fill = byteFill(pixel, pixel.nc() == 1 ? 1 : 4);
    CommonInit(nullptr);
}

ilSmartImage::ilSmartImage(int, void**)
    : signature(kSmartLiveSignature),
      realBounds(0, 0, 0, 0, 0, 1),
      publishedBounds(0, 0, 0, 0, 0, 1),
      seedBounds(0, 0, 0, 0, 0, 1),
      shrinkPending(0),
      forcedBounds(0, 0, 0, 0, 0, 0),
      forcedEnabled(0),
      checkAlphaOnCopy(0),
      alphaValid(1),
      dependentCount(0),
      dirtyTile(0, 0, 0, 0, 0, 0) {
    table.SetParent(this);
    imageType = ilSmartType;
    maxInputs = 1;
}

void ilSmartImage::SetFrameFields_(int channels) {
    imageType = ilSmartType;
    maxInputs = 1;
    dataType = ilUChar;
    order = ilInterleaved;
    coordSpace = ilLowerLeft;
    size.c = channels;
    pageSize = ilSize(kPageEdge, kPageEdge, 1, channels);
    pageBytes = static_cast<int>(ilDataSize(ilUChar, static_cast<int64_t>(kPagePixels) * channels));
}

void ilSmartImage::UpdateSizeFields_() {
    size.x = std::max(realBounds.x + realBounds.nx, 1);
    size.y = std::max(realBounds.y + realBounds.ny, 1);
    size.z = std::max(realBounds.z + realBounds.nz, 1);
}

std::uint32_t ilSmartImage::FillWord_() const {
    std::uint32_t word = 0;
    if (fill.type() == ilUChar && fill.nc() > 0)
        std::memcpy(&word, fill.elems(), static_cast<std::size_t>(std::min(fill.nc(), 4)));
    return table.GetPixelSize() == 1 ? word & 0xffu : word;
}

void ilSmartImage::CommonInit(ilImage* seed) {
    SmartImageCache* cache = SmartImageCache::GetInstance();
    signature = kSmartLiveSignature;
    status = ilOK;
    cache->ImageCreated();
    counted = true;
    dependents.clear();
    dependentCount = 0;
    table.SetParent(this);
    realBounds = publishedBounds = seedBounds = ilTile(0, 0, 0, 0, 0, 1);
    forcedBounds = ilTile(0, 0, 0, 0, 0, 0);
    dirtyTile = ilTile(0, 0, 0, 0, 0, 0);
    forcedEnabled = 0;
    checkAlphaOnCopy = 0;
    alphaValid = 1;
    shrinkPending = 0;
    maxInputs = 1;

    if (seed) {
        // Pages hold interleaved bytes of one or four channels; a seed of another layout would be
        // read past the page's memory, so it is refused like a seed of bits.
        const int channels = seed->getNumChans();
        const bool usable = seed->getDataType() == ilUChar && seed->getOrder() == ilInterleaved &&
                            (channels == 1 || channels == 4) && seed != this;
        if (!usable) {
            badSeed = true;
            status = ilBadInput;
            seed = nullptr;
        }
    }

    ilSmartImage* smartSeed = smartOf(seed);
    if (seed) {
        setInput(seed, 0);
        const int channels = seed->getNumChans();
        fill = byteFill(seed->getFill(), channels);
        SetFrameFields_(channels);
        const ilSize s = seed->getSize();
        size = ilSize(s.x, s.y, s.z, channels);
        colorModel = seed->getColorModel();
        table.SetSeed(seed);
        if (smartSeed) {
            ilSIDImage::SetSeedImage(seed);
            realBounds = smartSeed->getRealBounds();
            AddDependency(smartSeed, this);
        } else {
            realBounds = ilTile(0, 0, 0, s.x, s.y, s.z);
        }
        realBounds.z = 0;
        realBounds.nz = 1;
        seedBounds = realBounds;
        if (!smartSeed) {
            // A plain seed is read now, whole: its pages need not stay readable afterwards.
            table.SetBounds(realBounds.x, realBounds.y, realBounds.nx, realBounds.ny, 1);
            PageIterator it(&table, realBounds.x, realBounds.y, realBounds.nx, realBounds.ny, 1, 0);
            while (SmartImgPage* page = it.GetNext())
                page->CopyFromSeed();
        }
    } else {
        const int channels = fill.nc() == 1 ? 1 : 4;
        SetFrameFields_(channels);
        initColorModel(0);
        table.SetPixelSize(channels);
    }
    initMinMax(0);

    publishedBounds = realBounds;
    if (smartSeed) {
        forcedBounds = smartSeed->forcedBounds;
        forcedEnabled = smartSeed->forcedEnabled;
        if (forcedEnabled) realBounds = publishedBounds = forcedBounds;
    } else {
        forcedBounds = realBounds;
        forcedEnabled = 0;
    }

    SmartImage::ClipToLimit(realBounds.x, realBounds.y, realBounds.nx, realBounds.ny);
    publishedBounds = realBounds;
    table.SetBounds(realBounds.x, realBounds.y, realBounds.nx, realBounds.ny, 1);
    UpdateSizeFields_();
    table.SetFill(FillWord_());
    ilSIDImage::setFill(fill);
    markSet(ilAttrFill);
    shrinkPending = 0;
}

ilSmartImage::~ilSmartImage() {
    // Dependents take their pages from this table before it goes.
    for (int i = static_cast<int>(dependents.size()) - 1; i >= 0; --i)
        if (ilSmartImage* child = dependents[static_cast<std::size_t>(i)])
            BreakDependency(this, child);
    if (ilSmartImage* seed = smartOf(GetSeed())) RemoveDependency(seed, this);
    ilSIDImage::SetSeedImage(nullptr);
    signature = kSmartDeadSignature;
    // Pages go before the count does, so that the last image leaves no swap file behind.
    table.ReleaseAllPages();
    if (counted) SmartImageCache::GetInstance()->ImageDestroyed();
}

int ilSmartImage::CheckValid() const {
    if (IsValid()) return 1;
    std::printf("SID: ERROR: Invalid ilSmartImage\n");
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Seeds and dependents

void ilSmartImage::SetSeedImage(ilImage* seed) {
    if (ilSmartImage* current = smartOf(GetSeed())) RemoveDependency(current, this);
    if (!seed) {
        if (getNumInputs() > 0) removeInput(0);
        ilSIDImage::SetSeedImage(nullptr);
        return;
    }
    setInput(seed, 0);
    if (ilSmartImage* smart = smartOf(seed)) {
        ilSIDImage::SetSeedImage(seed);
        AddDependency(smart, this);
    } else {
        ilSIDImage::SetSeedImage(nullptr);
    }
}

void ilSmartImage::AddDependency(ilSmartImage* parent, ilSmartImage* child) {
    if (!parent || !child) return;
    auto& list = parent->dependents;
    auto slot = std::find(list.begin(), list.end(), nullptr);
    if (slot != list.end())
        *slot = child;
    else
        list.push_back(child);
    parent->dependentCount = static_cast<std::int32_t>(list.size());
}

void ilSmartImage::RemoveDependency(ilSmartImage* parent, ilSmartImage* child) {
    if (!parent) return;
    for (ilSmartImage*& slot : parent->dependents)
        if (slot == child) slot = nullptr;
}

void ilSmartImage::BreakDependency(ilSmartImage* parent, ilSmartImage* child) {
    child->GetSeedImagePages();
    child->SetSeedImage(parent->GetSeed());
    RemoveDependency(parent, child);
}

void ilSmartImage::GetSeedImagePages() {
    const ilTile& b = realBounds;
    PageIterator it(&table, b.x, b.y, b.nx, b.ny, 1, 0);
    while (it.GetNext()) {
    }
}

void ilSmartImage::ReferenceSeedPages(ilTile* tile) {
    ilTile b = getBounds();
    if (tile) b = ilTile(b, *tile);
    {
        PageIterator it(&table, b.x, b.y, b.nx, b.ny, 0, 0);
        while (SmartImgPage* page = it.GetNext())
            page->Realize(0);
    }
    const ilTile& area = tile ? *tile : b;
    fillTile3D(area.x, area.y, 0, area.nx, area.ny, 1, fill.elems(), nullptr, &b);
}

// ---------------------------------------------------------------------------------------------
// Evaluation and fill

void ilSmartImage::reset() {
    ilSIDImage::reset();
    table.SetFill(FillWord_());
    if (shrinkPending) {
        ShrinkBounds_();
        shrinkPending = 0;
    }
    if (publishedBounds != realBounds) {
        publishedBounds = realBounds;
        publishedBounds.nz = 1;
    }
    if (forcedEnabled) realBounds = publishedBounds = forcedBounds;
    table.SetBounds(realBounds.x, realBounds.y, realBounds.nx, realBounds.ny, 1);
    UpdateSizeFields_();
    status = badSeed ? ilBadInput : ilOK;
}

ilStatus ilSmartImage::setFill(const ilPixel& pixel) {
    const ilPixel value = byteFill(pixel, ChannelCount_());
    fill = value;
    table.SetFill(FillWord_());
    ilSIDImage::setFill(value);
    const ilTile b = getBounds();
    if (b.nx < 1 || b.ny < 1) return ilOK;
    if ((b.x & (kPageEdge - 1)) == 0 && (b.y & (kPageEdge - 1)) == 0 &&
        (b.ny & (kPageEdge - 1)) == 0) {
        SetBounds_(b, 1);
        return ilOK;
    }
    // The pages along the edge keep the old fill outside the bounds: they are filled anew.
    ilTile s = b;
    s.x = b.x & ~(kPageEdge - 1);
    s.y = b.y & ~(kPageEdge - 1);
    s.nx = ((b.nx + b.x + 126) & ~(kPageEdge - 1)) - s.x + 1;
    s.ny = ((b.ny + b.y + 126) & ~(kPageEdge - 1)) - s.y + 1;
    fillTile3D(s.x, s.y, 0, s.nx, s.ny, 1, value.elems(), nullptr, &b);
    SetBounds_(b, 1);
    return ilOK;
}

void SnapOutTile(ilTile& tile) {
    const int x1 = (tile.x + tile.nx + kPageEdge - 1) & ~(kPageEdge - 1);
    const int y1 = (tile.y + tile.ny + kPageEdge - 1) & ~(kPageEdge - 1);
    tile.x &= ~(kPageEdge - 1);
    tile.y &= ~(kPageEdge - 1);
    tile.nx = x1 - tile.x;
    tile.ny = y1 - tile.y;
}
