#pragma once

namespace kv_img {

/// Byte order of packed 4:2:2. Every pixel has two bytes, its luma and a chroma sample of its pair.
enum class PackedOrder {
  LumaFirst,   ///< Y0 Cb Y1 Cr
  ChromaFirst  ///< Cb Y0 Cr Y1
};

/// The byte of a pixel that holds the luma, 0 or 1.
[[gnu::always_inline]] constexpr int LumaByte(PackedOrder order) {
  return order == PackedOrder::LumaFirst ? 0 : 1;
}
/// The byte of a pixel that holds the chroma.
[[gnu::always_inline]] constexpr int ChromaByte(PackedOrder order) {
  return 1 - LumaByte(order);
}

/// Calls `work` with the order as its template argument.
template <class Work>
[[gnu::always_inline]] inline void WithOrder(PackedOrder order, Work work) {
  if (order == PackedOrder::LumaFirst) {
    work.template operator()<PackedOrder::LumaFirst>();
  } else {
    work.template operator()<PackedOrder::ChromaFirst>();
  }
}

}  // namespace kv_img
