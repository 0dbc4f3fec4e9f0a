// How a caller's buffer relates to an image: element type, order, coordinate space and the channel
// selection. A plain record: copies are shallow and chanList stays owned by whoever made it.
#pragma once

#include "pigment/frame/ilTypes.h"

class ilImage;

class ilConfig {
  public:
    ilType type;
    ilOrder order;
    ilCoordSpace coordSpace;
    int nChans;
    int chanOffset;
    int* chanList;
    ilColorModel colorModel;

    ilConfig() = default;
    ilConfig(ilType type_, ilOrder order_ = ilInterleaved, int nChans_ = 0,
             int* chanList_ = nullptr, int chanOffset_ = 0,
             ilCoordSpace coordSpace_ = ilSpaceDefault, ilColorModel colorModel_ = ilUnknownModel)
        : type(type_),
          order(order_),
          coordSpace(coordSpace_),
          nChans(nChans_),
          chanOffset(chanOffset_),
          chanList(chanList_),
          colorModel(colorModel_) {}
    // Takes type, order, space, channels and model from the image after its pending reset; a null
    // image leaves the record as it is.
    explicit ilConfig(ilImage* image);

    // The image channel of buffer channel i, or -1 when i is not a buffer channel.
    int mapChan(int i) const {
        if (i < 0 || i >= nChans) return -1;
        return chanList ? chanList[chanOffset + i] : chanOffset + i;
    }
    int operator[](int i) const { return mapChan(i); }

    // out[image channel] = buffer channel for the n image channels; unmapped ones get -1.
    void invert(int n, int* out) const;
    // False when two buffer channels map to the same image channel.
    bool isInvertable() const;
    // out[k] = mapChan(in[k]) for k below n.
    void compose(int n, const int* in, int* out) const;
};
