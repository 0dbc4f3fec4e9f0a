// The shared wrapper of a stamp's source or texture image, held by brushes and stamps through
// vl::Reference. For now it holds the image itself as its only level.
#pragma once

#include "pigment/base/vlReferenceCount.h"
#include "pigment/frame/ilImage.h"

class ImagePaintObj : public vl::ReferenceCount {
  public:
    explicit ImagePaintObj(vl::TempReference<ilImage> image);
    ~ImagePaintObj() override;

    // The level that best serves a read of width by height; (0, 0) asks for the source itself.
    // Until the reduced levels exist every request answers the source.
    virtual vl::TempReference<ilImage> image(int width, int height) const;

    // Bytes of pixels held over all levels.
    int mem_used() const;

  private:
    vl::TempReference<ilImage> level0;
};
