// The class identity of the frame's test image, which the smart tests use as a plain seed.
#include "frame/TestImage.h"

const ilClassList TestImage::classList = {"TestImage", &ilImage::classList};
