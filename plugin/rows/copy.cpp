#include "algorithms/copy/all_copies.h"
#include "algorithms/copy/portable/portable_copy.h"
#include "plugin/rows/rows.h"

KV_OFFER(Copy, kv_img::PortableCopyC);
