#include "algorithms/arithmetic/average.h"

#include "plugin/rows/rows.h"

KV_OFFER(Average);
