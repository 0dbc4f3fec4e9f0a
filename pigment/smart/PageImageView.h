// One smart page shown as an ilImage for the length of a tile transfer: a pooled memory image over
// the page's pixels, or a constant image of a solid page's value.
#pragma once

#include <cstdint>

class ilImage;
class ilMemoryImg;
class ilConstImg;
class SmartImgPage;

class PageImageView {
  public:
    PageImageView() = default;
    // Releases whatever is bound.
    virtual ~PageImageView();
    PageImageView(const PageImageView&) = delete;
    PageImageView& operator=(const PageImageView&) = delete;

    // Realizes the page in mode and binds an image to it. A solid page gets memory (a buffer of
    // its value) only when needMemory is set, otherwise a constant image. Answers the image, or
    // null for a page in any other state.
    ilImage* Bind(SmartImgPage* handle, int mode, int needMemory);
    // Detaches and returns the memory image to its pool, deletes the constant image and frees the
    // temporary buffer.
    void Release();
    // Turns the bound view writable: the page is realized for modification and a solid page is
    // rebound to its new memory. Answers the image.
    ilImage* MakeWritable();

    ilImage* GetImage() const { return image; }
    int IsMemory() const { return isMemory; }

  private:
    void BindMemory_(void* data, int pixelSize);

    std::int32_t tag = 9999;
    void* tempBuffer = nullptr;
    std::int32_t isMemory = 0;
    ilImage* image = nullptr;
    ilMemoryImg* memoryImage = nullptr;
    ilConstImg* constImage = nullptr;
    SmartImgPage* page = nullptr;
};
