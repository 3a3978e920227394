#include "algorithms/fillpoly/fill_poly.h"

#include "plugin/rows/rows.h"

KV_OFFER(FillPoly);
