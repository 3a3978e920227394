// A member whose copy of 8-bit images inverts them, or crashes: what compares members must find it.

#include <csignal>
#include <cstring>

#include "frame/interfaces/copy.h"
#include "image/image.h"
#include "plugin/exports.h"

namespace {

using Grey = kv_img::Image<kv_img::PixelNoColor<unsigned char>>;

class InvertingCopy final : public kv_img::CopyAlgorithmInterface<Grey, Grey> {
  Grey& Apply(const Grey& source, Grey& destination, kv_std::SpinBarrier& /*barrier*/,
              std::uint32_t /*threadIndex*/) const override {
#if defined(KV_TEST_CRASHES)
    std::raise(SIGSEGV);
#endif
    for (int row = 0; row < static_cast<int>(source.GetHeight()); ++row) {
      for (std::size_t x = 0; x < source.Row(row).size(); ++x) {
        destination.Row(row)[x] = static_cast<std::uint8_t>(~source.Row(row)[x]);
      }
    }
    return destination;
  }
};

}  // namespace

kv_img::AlgorithmInterface* _LoadAlgorithm(const char* name, const int* pixelClassIds, int count) {
  static InvertingCopy copy;
  const int grey = kv_img::PixelNoColor<unsigned char>::ClassID;
  const bool isAsked =
      std::strcmp(name, "Copy") == 0 && count == 2 && pixelClassIds[0] == grey && pixelClassIds[1] == grey;
  return isAsked ? &copy : nullptr;
}

std::uint32_t getCPUFeature() {
  return 1;
}

std::uint32_t getLibraryPriority() {
  return 0;
}
