// The texts the library prints for its enumerations, in image reports and diagnostics.
#pragma once

#include "pigment/frame/ilTypes.h"

const char* ilTypeText(int type);
const char* ilOrderText(int order);
const char* ilColorModelText(int model);
const char* ilColorModelReportText(int model);
const char* ilCoordSpaceText(int space);
const char* ilCoordSpaceReportText(int space);
const char* ilCompressText(int compression);
