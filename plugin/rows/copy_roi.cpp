#include "algorithms/copy/all_copy_rois.h"
#include "plugin/rows/rows.h"

KV_OFFER(CopyROI);
