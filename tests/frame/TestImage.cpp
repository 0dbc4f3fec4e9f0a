#include "TestImage.h"

const ilClassList TestImage::classList = {"a", &ilImage::classList};
