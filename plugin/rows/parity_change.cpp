#include "algorithms/parity/parity_change.h"

#include "plugin/rows/rows.h"

KV_OFFER(ParityChange);
