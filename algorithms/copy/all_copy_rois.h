#pragma once

// Every "CopyROI" that the members offer.
#include "algorithms/copy/copy_roi.h"
#include "algorithms/copy/copy_roi_planar.h"
#include "algorithms/copy/copy_roi_yuv422.h"
