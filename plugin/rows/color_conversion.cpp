#include "algorithms/color/color_conversion.h"

#include "plugin/rows/rows.h"

KV_OFFER(ColorConversion);
