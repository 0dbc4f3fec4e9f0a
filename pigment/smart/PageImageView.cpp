// Page views over two process-wide pools of 128 x 128 memory images, one of one channel and one
// of four, so a tile transfer costs no image construction.
#include "pigment/smart/PageImageView.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "pigment/frame/ilConstImg.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilPixel.h"
#include "pigment/smart/SmartImgPage.h"

namespace {

// The pools live to the end of the process: views may be released by exit-time code.
std::vector<ilMemoryImg*>& pool(int pixelSize) {
    static auto* small = new std::vector<ilMemoryImg*>;
    static auto* big = new std::vector<ilMemoryImg*>;
    return pixelSize == 4 ? *big : *small;
}

ilMemoryImg* takeFromPool(int pixelSize) {
    std::vector<ilMemoryImg*>& images = pool(pixelSize);
    if (images.empty()) {
        auto* image = new ilMemoryImg(nullptr, 0, ilSize(kPageEdge, kPageEdge, 1, pixelSize),
                                      ilUChar, ilInterleaved);
        image->ref();  // the pool's own reference
        return image;
    }
    ilMemoryImg* image = images.back();
    images.pop_back();
    return image;
}

}  // namespace

PageImageView::~PageImageView() {
    Release();
}

void PageImageView::BindMemory_(void* data, int pixelSize) {
    if (!memoryImage) memoryImage = takeFromPool(pixelSize);
    memoryImage->setDataPtr(data, static_cast<int64_t>(kPagePixels) * pixelSize);
    image = memoryImage;
    isMemory = 1;
}

ilImage* PageImageView::Bind(SmartImgPage* handle, int mode, int needMemory) {
    page = handle;
    image = nullptr;
    isMemory = 0;
    if (!handle || handle->IsNull()) return nullptr;
    handle->Realize(mode);
    PageData* body = handle->GetPageData();
    const int pixelSize = body->pixelSize == 4 ? 4 : 1;
    if (body->state == ValidInMem && body->data) {
        BindMemory_(body->data, pixelSize);
    } else if (body->state == SolidFill && needMemory) {
        if (!tempBuffer) tempBuffer = std::malloc(static_cast<size_t>(kPagePixels) * 4);
        if (!tempBuffer) return nullptr;
        if (pixelSize == 4)
            std::fill_n(static_cast<std::uint32_t*>(tempBuffer), kPagePixels, body->fillValue);
        else
            std::fill_n(static_cast<unsigned char*>(tempBuffer), kPagePixels,
                        static_cast<unsigned char>(body->fillValue));
        BindMemory_(tempBuffer, pixelSize);
    } else if (body->state == SolidFill) {
        delete constImage;
        const std::uint32_t value = body->fillValue;
        constImage = new ilConstImg(ilPixel(ilUChar, pixelSize, &value));
        image = constImage;
    }
    return image;
}

void PageImageView::Release() {
    if (memoryImage) {
        memoryImage->setDataPtr(nullptr, 0);
        const int channels = memoryImage->getNumChans();
        pool(channels == 4 ? 4 : 1).push_back(memoryImage);
        memoryImage = nullptr;
    }
    // The view is the constant image's only owner.
    delete constImage;
    constImage = nullptr;
    std::free(tempBuffer);
    tempBuffer = nullptr;
    image = nullptr;
    isMemory = 0;
}

ilImage* PageImageView::MakeWritable() {
    if (!page || page->IsNull()) return image;
    const int state = page->GetState();
    if (state != ValidInMem && state != SolidFill) return image;
    page->Realize(1);
    // Unsharing may have moved the pixels, and a solid now has memory of its own.
    PageData* body = page->GetPageData();
    if (body->state == ValidInMem && body->data) {
        delete constImage;
        constImage = nullptr;
        BindMemory_(body->data, body->pixelSize == 4 ? 4 : 1);
    }
    return image;
}
