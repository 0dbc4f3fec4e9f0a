#include "support/TestImage.h"

const ilClassList TestImage::classList = {"TestImage", &ilImage::classList};
