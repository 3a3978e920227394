#pragma once

#include <cstdio>

#include "host/av/door.h"
#include "host/av/library.h"

// Properties of video as the library names them, in the terms of the door.
namespace kv_av {

inline int InterlaceOf(AVFieldOrder order) {
  switch (order) {
    case AV_FIELD_PROGRESSIVE:
      return KvAvProgressive;
    case AV_FIELD_TT:
    case AV_FIELD_BT:  // the first letter is the field that is coded first, the second the one shown first
      return KvAvTopFirst;
    case AV_FIELD_BB:
    case AV_FIELD_TB:
      return KvAvBottomFirst;
    default:
      return KvAvFieldsUnknown;
  }
}

inline int RangeOf(AVColorRange range, int pixels) {
  if (pixels == AV_PIX_FMT_YUVJ420P || pixels == AV_PIX_FMT_YUVJ422P || pixels == AV_PIX_FMT_YUVJ444P ||
      pixels == AV_PIX_FMT_YUVJ440P || pixels == AV_PIX_FMT_YUVJ411P) {
    return KvAvFull;
  }
  return range == AVCOL_RANGE_JPEG ? KvAvFull : range == AVCOL_RANGE_MPEG ? KvAvLimited : KvAvRangeUnknown;
}

inline int MatrixOf(AVColorSpace space) {
  switch (space) {
    case AVCOL_SPC_BT709:
      return KvAv709;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
      return KvAv601;
    case AVCOL_SPC_BT2020_NCL:
      return KvAv2020;
    default:
      return KvAvMatrixUnknown;
  }
}

inline void Copy(const char* text, char* to, std::size_t size) {
  std::snprintf(to, size, "%s", text == nullptr ? "unknown" : text);
}

inline void Set(AVRational ratio, std::int32_t* out) {
  const bool isKnown = ratio.num > 0 && ratio.den > 0;
  out[0] = isKnown ? ratio.num : 0;
  out[1] = isKnown ? ratio.den : 0;
}

}  // namespace kv_av
