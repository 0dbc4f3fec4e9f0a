// The container family in one include: vector, list, map and set, hash table, block allocator.
// Each lives in its own header; this one only gathers them.
#pragma once

#include "pigment/base/vlBlockAllocator.h"
#include "pigment/base/vlHashTable.h"
#include "pigment/base/vlList.h"
#include "pigment/base/vlMap.h"
#include "pigment/base/vlVector.h"
