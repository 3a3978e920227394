#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdlib>
#include <vector>

#include "capi/kv/kv.h"
#include "fuzz/check_input.h"

// Arguments of the C interface, made of a fuzzer's bytes.
namespace kv_fuzz {

class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : data_(data, size) {}

  int Number(int low, int high) { return data_.ConsumeIntegralInRange(low, high); }
  /// Now and then anything at all.
  template <class Value>
  void MaySpoil(Value& value) {
    if (Number(0, 31) == 0) value = data_.ConsumeIntegral<Value>();
  }
  void MaySpoil(double& value) {
    if (Number(0, 31) == 0) value = data_.ConsumeFloatingPoint<double>();
  }
  template <class Struct>
  Struct* MayBeNull(Struct& value) {
    return Number(0, 63) == 0 ? nullptr : &value;
  }
  std::uint8_t Byte() { return data_.ConsumeIntegral<std::uint8_t>(); }

 private:
  FuzzedDataProvider data_;
};

class Frame {
 public:
  Frame(Input& input, int width, int height, int format) {
    kv_frame_init(&view);
    view.format = format;
    view.width = width;
    view.height = height;
    for (int plane = 0; plane < 4; ++plane) {
      std::int64_t rowBytes = 0;
      if (kv_format_row_bytes(view.format, plane, view.width, &rowBytes) != KV_OK) break;
      view.strides[plane] = (rowBytes + input.Number(-2, 40)) * (input.Number(0, 1) != 0 ? -1 : 1);
      const std::int64_t step = std::abs(view.strides[plane]);
      const auto bytes = static_cast<std::size_t>((view.height - 1) * step + rowBytes);
      memory_[plane].assign(bytes, input.Byte());
      view.planes[plane] = memory_[plane].data() + (view.strides[plane] < 0 ? (view.height - 1) * step : 0);
      if (input.Number(0, 63) == 0) view.planes[plane] = nullptr;
    }
    input.MaySpoil(view.struct_size);
    input.MaySpoil(view.field_order);
    input.MaySpoil(view.matrix);
    input.MaySpoil(view.reserved[input.Number(0, 4)]);
    view.row_parity = input.Number(0, 1);
    view.range = input.Number(0, 2);
    view.chroma = input.Number(0, 2);
    // Memory of these sizes there is not: such a frame has to be refused.
    if (input.Number(0, 31) == 0) view.width = input.Number(0, 1) != 0 ? 0 : -width;
    if (input.Number(0, 31) == 0) view.format = input.Number(0, 1) != 0 ? 16 : -1;
  }

  kv_frame view;

 private:
  std::vector<std::uint8_t> memory_[4];
};

inline void RequireAnswer(kv_status status) {
  Require(status >= KV_OK && status < KV_INTERNAL, "a status that no argument may cause");
  Require(status == KV_OK || *kv_last_error() != '\0', "a failure without a text");
}

}  // namespace kv_fuzz
