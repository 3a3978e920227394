#include "algorithms/arithmetic/absolute_difference.h"

#include "plugin/rows/rows.h"

KV_OFFER(AbsoluteDifference);
