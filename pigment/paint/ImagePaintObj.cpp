#include "pigment/paint/ImagePaintObj.h"

#include "pigment/frame/ilData.h"

ImagePaintObj::ImagePaintObj(vl::TempReference<ilImage> image) : level0(image) {}

ImagePaintObj::~ImagePaintObj() = default;

vl::TempReference<ilImage> ImagePaintObj::image(int, int) const {
    return level0;
}

int ImagePaintObj::mem_used() const {
    if (level0.isNull()) return 0;
    const ilSize size = level0->getSize();
    return static_cast<int>(ilDataSize(level0->getDataType(), int64_t(size.x) * size.y * size.c));
}
