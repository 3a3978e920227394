#include <algorithm>
#include <cstring>

#include "capi/context.h"
#include "capi/rows.h"
#include "capi/view.h"
#include "frame/interfaces/color_conversion.h"

namespace kv_capi {
namespace {

using kv_img::ColorConversionParameters;

constexpr int mostRowsOfStandardDefinition = 576;

int MatrixOf(const Frame& frame) {
  if (frame.view->matrix != KV_MATRIX_DEFAULT) return frame.view->matrix;
  return frame.height <= mostRowsOfStandardDefinition ? KV_MATRIX_BT601 : KV_MATRIX_BT709;
}

kv_img::YuvColors ColorsOf(const Frame& frame) {
  return {
      static_cast<kv_img::ColorMatrix>(MatrixOf(frame) - KV_MATRIX_BT601),
      frame.view->range == KV_RANGE_FULL ? kv_img::ColorRange::Full : kv_img::ColorRange::Limited,
      frame.view->chroma == KV_CHROMA_CENTRE ? kv_img::ChromaPosition::Centre : kv_img::ChromaPosition::Left};
}

constexpr bool IsYuv(const Format& format) {
  return IsPacked(format) || format.storage == Storage::Planar;
}

/// A frame of a few rows in scratch memory, in a format that the family's operations take.
struct Band {
  Band(kv_context& context, std::int32_t format, int width, int rows)
      : scratch(context, static_cast<std::size_t>(StrideOf(format, width)) * static_cast<std::size_t>(rows)) {
    view.format = format;
    view.planes[0] = scratch.Data();
    view.strides[0] = StrideOf(format, width);
    frame = {"band", &view, FindFormat(format), width, rows};
  }
  static std::int64_t StrideOf(std::int32_t format, int width) {
    return (RowBytes(*FindFormat(format), 0, width) + 63) / 64 * 64;
  }

  Scratch scratch;
  kv_frame view = {};
  Frame frame = {};
};

/// Rows of a band: few enough to stay in the processor's cache.
int BandRows(int width) {
  return std::clamp(32768 / width, 1, 64);
}

/// The rows `first` to first + count - 1 of a frame, as a frame.
struct Part {
  Part(const Frame& whole, int first, int count) : view(*whole.view) {
    for (int plane = 0; plane < whole.format->planes; ++plane) view.planes[plane] = whole.Row(plane, first);
    frame = {whole.name, &view, whole.format, whole.width, count};
  }
  kv_frame view;
  Frame frame = {};
};

class Conversion {
 public:
  Conversion(const Call& call, const Frame& source, const Frame& destination,
             const kv_convert_options& options)
      : call_(call), source_(source), destination_(destination) {
    parameters_.resample = options.resample == KV_RESAMPLE_NEAREST ? kv_img::ChromaResampling::Nearest
                                                                   : kv_img::ChromaResampling::Linear;
    const bool fromYuv = IsYuv(*source.format);
    parameters_.yuv = ColorsOf(fromYuv ? source : destination);
    parameters_.destination = ColorsOf(destination);
    isSameColours_ = fromYuv && IsYuv(*destination.format) && parameters_.yuv == parameters_.destination;
    matrix_ = MatrixOf(destination);
  }

  /// Rows that are converted by way of scratch.
  void Rows(int first, int count) const {
    const int most = NeedsBand() ? BandRows(source_.width) : count;
    for (int done = 0; done < count; done += most) {
      const int rows = std::min(most, count - done);
      const Part from(source_, first + done, rows);
      const Part to(destination_, first + done, rows);
      Convert(from.frame, to.frame);
    }
  }

 private:
  static bool IsForeign(const Format& format) {
    return format.storage == Storage::Planar || format.storage == Storage::Words;
  }
  bool NeedsBand() const {
    return IsForeign(*source_.format) || IsForeign(*destination_.format) || IsBitmapPair();
  }
  bool IsBitmapPair() const { return !IsYuv(*source_.format) && !IsYuv(*destination_.format); }

  void Convert(const Frame& from, const Frame& to) const {
    if (IsBitmapPair()) return ConvertBitmaps(from, to);
    if (isSameColours_) {
      CopyYuv(from, to);
    } else {
      ConvertForeign(from, to);
    }
    PutAlpha(from, to);
  }

  void ConvertBitmaps(const Frame& from, const Frame& to) const {
    if (from.format == to.format) return CopyRows(from, to, 0);
    Scratch line(call_.Context(), static_cast<std::size_t>(from.width) * 4);
    for (int row = 0; row < from.height; ++row) {
      ConvertBitmapRow(*from.format, from.Row(0, row), *to.format, to.Row(0, row), from.width, matrix_,
                       line.Data());
    }
  }

  static void CopyRows(const Frame& from, const Frame& to, int plane) {
    const auto bytes = static_cast<std::size_t>(RowBytes(*from.format, plane, from.width));
    for (int row = 0; row < from.height; ++row) std::memcpy(to.Row(plane, row), from.Row(plane, row), bytes);
  }

  static bool IsLumaFirst(const Frame& frame) {
    return frame.format->layout == kv_img::PixelLayout::lumaFirst;
  }

  /// Between YUV formats of equal colours: samples as they are.
  void CopyYuv(const Frame& from, const Frame& to) const {
    if (!IsPacked(*from.format) && !IsPacked(*to.format)) {
      for (int plane = 0; plane < 3; ++plane) CopyRows(from, to, plane);
    } else if (IsPacked(*from.format) && IsPacked(*to.format) && from.format->layout == to.format->layout) {
      CopyRows(from, to, 0);
    } else if (!IsPacked(*to.format)) {
      UnpackRows(from, to);
    } else {
      for (int row = 0; row < from.height; ++row) {
        if (!IsPacked(*from.format)) {
          PackRow(from, row, IsLumaFirst(to), to.Row(0, row));
        } else {
          SwapRow(from.Row(0, row), from.width, to.Row(0, row));
        }
      }
    }
  }

  void UnpackRows(const Frame& from, const Frame& to) const {
    Scratch line(call_.Context(), static_cast<std::size_t>(from.width) + 1);
    for (int row = 0; row < from.height; ++row)
      UnpackRow(from.Row(0, row), IsLumaFirst(from), to, row, line.Data());
  }

  void ConvertForeign(const Frame& from, const Frame& to) const {
    if (IsForeign(*from.format)) {
      Band band(call_.Context(), IsYuv(*from.format) ? KV_FORMAT_YUY2 : KV_FORMAT_BGRA32, from.width,
                from.height);
      if (!IsYuv(*from.format)) {
        ConvertBitmaps(from, band.frame);
      } else {
        for (int row = 0; row < from.height; ++row) PackRow(from, row, true, band.frame.Row(0, row));
      }
      return ConvertForeign(band.frame, to);
    }
    if (!IsForeign(*to.format)) return ConvertDirectly(from, to);
    Band band(call_.Context(), IsYuv(*to.format) ? KV_FORMAT_YUY2 : KV_FORMAT_BGRA32, to.width, to.height);
    ConvertDirectly(from, band.frame);
    if (!IsYuv(*to.format)) return ConvertBitmaps(band.frame, to);
    UnpackRows(band.frame, to);
  }

  /// One "ColorConversion" between formats that the family has.
  void ConvertDirectly(const Frame& from, const Frame& to) const {
    if (IsPacked(*from.format)) {
      if (IsPacked(*to.format)) return Cross<Packed, Packed>(from, to);
      if (to.format->storage == Storage::Grey) return Cross<Packed, Grey>(from, to);
      if (to.format->pixelBytes == 3) return Cross<Packed, Bitmap24>(from, to);
      if (from.format->hasAlpha && to.format->hasAlpha) return Cross<PackedAlpha, Bitmap32>(from, to);
      return Cross<Packed, Bitmap32>(from, to);
    }
    if (from.format->storage == Storage::Grey) return Cross<Grey, Packed>(from, to);
    if (from.format->pixelBytes == 3) return Cross<Bitmap24, Packed>(from, to);
    if (from.format->hasAlpha && to.format->hasAlpha) return Cross<Bitmap32, PackedAlpha>(from, to);
    Cross<Bitmap32, Packed>(from, to);
  }

  template <class In, class Out>
  void Cross(const Frame& from, const Frame& to) const {
    using Interface = kv_img::ColorConversionAlgorithmInterface<kv_img::Image<In>, kv_img::Image<Out>>;
    const auto& operation = call_.Find<Interface>("ColorConversion", {In::ClassID, Out::ClassID});
    const View<In> source(from);
    View<Out> destination(to);
    operation.Apply(*source, *destination, parameters_, call_.Alone(), 0);
  }

  /// The alpha plane of packed 4:2:2, but for what a conversion between alpha formats has written.
  static void PutAlpha(const Frame& from, const Frame& to) {
    if (to.format->storage != Storage::PackedAlpha) return;
    if (from.format->storage == Storage::PackedAlpha) return CopyRows(from, to, 1);
    if (from.format->hasAlpha) return;
    for (int row = 0; row < to.height; ++row)
      std::memset(to.Row(1, row), 255, static_cast<std::size_t>(to.width));
  }

  const Call& call_;
  const Frame& source_;
  const Frame& destination_;
  ColorConversionParameters parameters_;
  bool isSameColours_ = false;
  int matrix_ = KV_MATRIX_BT601;
};

kv_convert_options CheckOptions(const kv_convert_options* given) {
  kv_convert_options options;
  kv_convert_options_init(&options);
  if (given == nullptr) return options;
  CheckStruct("options", given, "kv_convert_options_init");
  CheckRange("options->resample", given->resample, KV_RESAMPLE_LINEAR, KV_RESAMPLE_NEAREST);
  CheckReserved("options", AreZero(given->reserved));
  return *given;
}

}  // namespace
}  // namespace kv_capi

using namespace kv_capi;

void kv_convert_options_init(kv_convert_options* options) {
  if (options == nullptr) return;
  *options = {};
  options->struct_size = sizeof *options;
}

kv_status kv_convert(kv_context* context, const kv_frame* source, kv_frame* destination,
                     const kv_convert_options* options, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame from = CheckFrame("source", source);
    const Frame to = CheckFrame("destination", destination);
    const kv_convert_options checked = CheckOptions(options);
    CheckSameSize(from, to);
    CheckNoOverlap(from, to);
    const Conversion conversion(with, from, to, checked);
    const int tasks = with.TasksFor(std::int64_t{from.width} * from.height, from.height);
    with.ForEachTask(tasks, [&](int index) {
      const RowsOfTask rows = RowsOf(from.height, tasks, index);
      conversion.Rows(rows.first, rows.count);
    });
  });
}
