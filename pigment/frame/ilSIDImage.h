// The common base of the paint engine's images: an identity that survives copies, a time stamp,
// and a seed image that the image shows through or derives from.
#pragma once

#include <cstdint>

#include "pigment/base/vlUuid.h"
#include "pigment/frame/ilImage.h"

class ilSIDImage : public ilImage {
  public:
    ilSIDImage();
    explicit ilSIDImage(const ilSize& size);
    ilSIDImage(const ilSIDImage& other);
    ilSIDImage& operator=(const ilSIDImage& other);
    ~ilSIDImage() override;

    vlOS::Uuid getImageId() const { return imageId; }
    int64_t getTimeStamp() const { return timeStamp; }

    // Folds the seed into the seed's own seed, which becomes this image's seed; false unless both
    // are images of this family.
    virtual bool CollapseSeed();
    virtual ilImage* GetSeedImage() { return seedImage; }
    virtual ilTile getBounds();
    virtual void setTimeStamp() {}

  protected:
    // A seed of this family is counted; any other image is only remembered.
    virtual void SetSeedImage(ilImage* image);
    virtual ilStatus MergeChangesIntoSeed() = 0;
    // Gives up the count on a counted seed without deleting an image that nobody else holds, since
    // such a seed may live on the caller's stack.
    static void releaseSeed(ilImage* seed);

    vlOS::Uuid imageId;
    int64_t timeStamp;
    ilImage* seedImage = nullptr;
};
