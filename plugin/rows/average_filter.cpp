#include "algorithms/box_filter/average_filter.h"

#include "plugin/rows/rows.h"

KV_OFFER(AverageFilter);
