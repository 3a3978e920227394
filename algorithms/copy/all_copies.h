#pragma once

// Every "Copy" that the members offer.
#include "algorithms/copy/copy.h"
#include "algorithms/copy/dib24_to_yuv422.h"
#include "algorithms/copy/dib32_to_yuv422.h"
#include "algorithms/copy/yuv411p_to_yuv422.h"
#include "algorithms/copy/yuv422_to_dib16.h"
#include "algorithms/copy/yuv422_to_dib24.h"
#include "algorithms/copy/yuv422_to_yuv422.h"
