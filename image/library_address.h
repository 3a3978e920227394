#pragma once

#include "image/export.h"

namespace kv_img {

/// An address inside the image library itself, for those who ask the system where the library was loaded
/// from. (The address of one of its symbols may be in the program, which keeps copies.)
KV_IMAGE_API const void* AddressInImageLibrary() noexcept;

}  // namespace kv_img
