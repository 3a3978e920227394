#include "image/library_address.h"

namespace kv_img {

const void* AddressInImageLibrary() noexcept {
  static const char inside = 0;
  return &inside;
}

}  // namespace kv_img
