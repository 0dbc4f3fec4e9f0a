// The frame's test image kind lives with the shared test code; this path is kept for its users.
#pragma once
#include "support/TestImage.h"
