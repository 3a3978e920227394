#include "algorithms/scanning/scanning.h"

#include "plugin/rows/rows.h"

KV_OFFER(Scanning);
