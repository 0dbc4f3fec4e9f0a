#include "pigment/frame/ilSIDImage.h"

ilSIDImage::ilSIDImage() {
    imageId.generate();
}

ilSIDImage::ilSIDImage(const ilSize& size) : ilImage(size) {
    imageId.generate();
}

ilSIDImage::ilSIDImage(const ilSIDImage& other) : ilImage(other), imageId(other.imageId) {}

ilSIDImage& ilSIDImage::operator=(const ilSIDImage& other) {
    ilImage::operator=(other);
    imageId = other.imageId;
    return *this;
}

ilSIDImage::~ilSIDImage() {
    if (dynamic_cast<ilSIDImage*>(seedImage)) releaseSeed(seedImage);
    seedImage = nullptr;
}

void ilSIDImage::releaseSeed(ilImage* seed) {
    if (seed->refs() > 1)
        seed->unref();
    else if (seed->refs() == 1)
        seed->count = 0;
}

void ilSIDImage::SetSeedImage(ilImage* image) {
    if (image == seedImage) return;
    if (dynamic_cast<ilSIDImage*>(image)) image->ref();
    ilImage* old = seedImage;
    seedImage = image;
    if (dynamic_cast<ilSIDImage*>(old)) releaseSeed(old);
}

bool ilSIDImage::CollapseSeed() {
    auto* seed = dynamic_cast<ilSIDImage*>(seedImage);
    if (!seed) return false;
    auto* grand = dynamic_cast<ilSIDImage*>(seed->seedImage);
    if (!grand) return false;
    seed->MergeChangesIntoSeed();
    SetSeedImage(grand);
    return true;
}

ilTile ilSIDImage::getBounds() {
    ilSize s = getSize();
    return ilTile(0, 0, 0, s.x, s.y, s.z);
}
