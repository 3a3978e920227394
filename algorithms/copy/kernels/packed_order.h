#pragma once

namespace kv_img::copy {

/// Byte order of packed 4:2:2.
enum class PackedOrder {
  LumaFirst,   ///< Y0 Cb Y1 Cr
  ChromaFirst  ///< Cb Y0 Cr Y1
};

}  // namespace kv_img::copy
