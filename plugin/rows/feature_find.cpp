#include "algorithms/featurefind/feature_find.h"

#include "plugin/rows/rows.h"

KV_OFFER(FeatureFind);
