#include "algorithms/alpha/alpha_layer_prob_mask.h"

#include "plugin/rows/rows.h"

KV_OFFER(AlphaLayerProbMask);
