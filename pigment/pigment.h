// libPigment: the raster image and paint engine. This umbrella header brings in every public header.
#pragma once

#include "pigment/base/vlReferenceCount.h"

#include "pigment/frame/PixelMemory.h"
#include "pigment/frame/ilBuffer.h"
#include "pigment/frame/ilClassList.h"
#include "pigment/frame/ilConfig.h"
#include "pigment/frame/ilConstImg.h"
#include "pigment/frame/ilCoord.h"
#include "pigment/frame/ilData.h"
#include "pigment/frame/ilImage.h"
#include "pigment/frame/ilLink.h"
#include "pigment/frame/ilList.h"
#include "pigment/frame/ilLockedTile.h"
#include "pigment/frame/ilMemoryImg.h"
#include "pigment/frame/ilPage.h"
#include "pigment/frame/ilPixel.h"
#include "pigment/frame/ilReport.h"
#include "pigment/frame/ilSIDImage.h"
#include "pigment/frame/ilSpace.h"
#include "pigment/frame/ilTile.h"
#include "pigment/frame/ilTypes.h"
