#include "algorithms/alpha/alpha_layer_color_based.h"

#include "plugin/rows/rows.h"

KV_OFFER(AlphaLayerColorBased);
