#pragma once

// Every operation of this folder that the members offer.
#include "algorithms/arithmetic/absolute_difference.h"
#include "algorithms/arithmetic/average.h"
#include "algorithms/arithmetic/blend_boost.h"
