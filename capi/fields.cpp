#include <algorithm>
#include <cstring>

#include "capi/context.h"
#include "capi/region.h"
#include "capi/view.h"
#include "frame/interfaces/parity_change.h"
#include "frame/interfaces/scanning.h"
#include "run/parity_methods.h"

namespace kv_capi {
namespace {

using kv_img::Image;
using kv_img::ImageRect;

constexpr const char* packedFormats = "UYVY or YUY2";

/// A parity change in bands: output rows are means of two source rows, but the one at the top or bottom, which has
/// only itself. A band takes the row beyond that it needs and writes what becomes of it nowhere.
class ParityBands {
 public:
  ParityBands(const Call& call, const Frame& source, const Frame& destination, const CallRegion& region,
              bool isWhole)
      : call_(call), source_(source), destination_(destination), region_(region), isWhole_(isWhole) {
    const bool isBottomFirst = source.view->field_order == KV_FIELDS_BOTTOM_FIRST;
    takesUpper_ = isBottomFirst == (source.view->row_parity != 0);
  }

  void Run() const {
    const auto& operation = call_.Find<Interface>("ParityChange", {Packed::ClassID, Packed::ClassID});
    const int rows = region_.Rows();
    const int tasks = call_.TasksFor(region_.Pixels(), rows);
    call_.ForEachTask(tasks, [&](int index) {
      const RowsOfTask band = RowsOf(rows, tasks, index);
      if (band.count > 0) RunBand(operation, band, rows);
    });
  }

 private:
  using Interface = kv_img::ParityChangeAlgorithmInterface<Image<Packed>, Image<Packed>>;

  void RunBand(const Interface& operation, const RowsOfTask& band, int rows) const {
    const int above = takesUpper_ && band.first > 0 ? 1 : 0;
    const int below = !takesUpper_ && band.first + band.count < rows ? 1 : 0;
    const int count = above + band.count + below;
    const int first = region_->GetTop() + band.first - above;
    const View<Packed> from(source_, first, count);
    View<Packed> to(destination_, first, count);
    Scratch nowhere(call_.Context(), static_cast<std::size_t>(RowBytes(*source_.format, 0, source_.width)));
    if (above != 0) to.PlaneRows()[0] = nowhere.Data();
    if (below != 0) to.PlaneRows()[count - 1] = nowhere.Data();
    if (isWhole_) {
      operation.Apply(*from, *to);
    } else {
      operation.Apply(*from, *to, ImageRect(region_->GetLeft(), 0, region_->GetRight(), count - 1));
    }
  }

  const Call& call_;
  const Frame& source_;
  const Frame& destination_;
  const CallRegion& region_;
  bool isWhole_;
  bool takesUpper_;
};

/// The methods that move whole lines, plane by plane.
void ChangeLines(const Call& call, const Frame& from, const Frame& to, int method) {
  const int height = from.height;
  const int tasks = call.TasksFor(std::int64_t{from.width} * height, height);
  const bool becomesBottomFirst = from.view->field_order != KV_FIELDS_BOTTOM_FIRST;
  call.ForEachTask(tasks, [&](int index) {
    const RowsOfTask rows = RowsOf(height, tasks, index);
    const int last = rows.first + rows.count - 1;
    for (int plane = 0; plane < from.format->planes; ++plane) {
      const auto bytes = static_cast<std::size_t>(RowBytes(*from.format, plane, from.width));
      const kv_run::PlaneRows<const std::uint8_t> source{from.Row(plane, 0), from.view->strides[plane]};
      const kv_run::PlaneRows<std::uint8_t> destination{to.Row(plane, 0), to.view->strides[plane]};
      if (method == KV_PARITY_LINE) {
        const auto shift = becomesBottomFirst ? kv_run::LineShift::Down : kv_run::LineShift::Up;
        kv_run::ShiftLines(source, destination, bytes, height, rows.first, last, shift);
      } else {
        kv_run::InterpolateFields(source, destination, bytes, height, rows.first, last);
      }
    }
  });
}

kv_pan_options CheckOptions(const kv_pan_options* options) {
  CheckStruct("options", options, "kv_pan_options_init");
  const bool isKnown = options->direction == KV_PAN_RIGHT || options->direction == KV_PAN_LEFT ||
                       options->direction == KV_PAN_DOWN || options->direction == KV_PAN_UP;
  if (!isKnown) {
    Fail(KV_BAD_ARGUMENT, "options->direction is %d; it is none of KV_PAN_…",
         static_cast<int>(options->direction));
  }
  CheckRange("options->steps", options->steps, 1, INT32_MAX);
  CheckRange("options->step", options->step, 0, options->steps - 1);
  CheckRange("options->half_line", options->half_line, 0, 1);
  CheckReserved("options", options->reserved32 == 0 && AreZero(options->reserved));
  return *options;
}

/// One frame of a pan.
class Pan {
 public:
  Pan(const Call& call, const Frame& source, const Frame& destination, const kv_pan_options& options)
      : call_(call), source_(source), destination_(destination), options_(options) {}

  void Run(const CallRegion& from, const CallRegion& to) const {
    CheckRegions(from, to);
    const auto& operation = call_.Find<Interface>("Scanning", {Packed::ClassID, Packed::ClassID});
    const int rows = to.Rows();
    // Half a line further down a band's last row would repeat the one above it: then there is one band.
    int tasks = options_.half_line != 0 ? 1 : call_.TasksFor(to.Pixels(), rows);
    const bool reachesEnd = ReachesEnd(from, to);
    constexpr int rowsOfTask = 16;
    if (reachesEnd && options_.half_line == 0) tasks = std::max(tasks, (rows + rowsOfTask - 1) / rowsOfTask);
    kv_std::SpinBarrier barrier(tasks);
    call_.ForEachTask(tasks, [&](int index) {
      View<Packed> in(source_);
      View<Packed> out(destination_);
      out->GetProperties().fieldParity = static_cast<std::uint8_t>((options_.step & 1) ^ options_.half_line);
      const RowsOfTask band = RowsOf(rows, tasks, index);
      const RowsOfTask read = reachesEnd ? RowsRead(from, to, band) : RowsOfTask{0, 0};
      Scratch scratch(call_.Context(), StrideOfScratch() * static_cast<std::size_t>(read.count));
      TakeRows(in, read, scratch);
      operation.Apply(*in, *out, *from, *to, static_cast<std::uint8_t>(options_.direction), options_.steps,
                      static_cast<std::uint32_t>(options_.step), barrier, index);
    });
  }

 private:
  using Interface = kv_img::ScanningAlgorithmInterface<Image<Packed>, Image<Packed>>;
  /// The rules read this far past their last pixel.
  static constexpr int reach = 16;

  bool IsSideways() const { return (options_.direction & (KV_PAN_RIGHT | KV_PAN_LEFT)) != 0; }

  void CheckRegions(const CallRegion& from, const CallRegion& to) const {
    CheckRectangular("source_region", from);
    CheckRectangular("destination_region", to);
    const auto check = [&](const char* what, unsigned source, unsigned destination, bool areEqual) {
      if (areEqual ? destination == source : destination <= source) return;
      Fail(KV_SIZE_MISMATCH, "the %s of destination_region is %u, of source_region %u; %s", what, destination,
           source, areEqual ? "for this direction they must be equal" : "it must not be larger");
    };
    check("width", from->GetWidth(), to->GetWidth(), !IsSideways());
    check("height", from->GetHeight(), to->GetHeight(), IsSideways());
    if (to->GetRight() >= source_.width || to->GetBottom() >= source_.height) {
      Fail(KV_BAD_ARGUMENT,
           "destination_region: columns to %d, rows to %d; they must be inside the source, too, which "
           "is %dx%d",
           to->GetRight(), to->GetBottom(), source_.width, source_.height);
    }
    if (options_.half_line != 0 && to.Rows() == 1 && to->GetTop() == 0) {
      Fail(KV_BAD_ARGUMENT,
           "destination_region is the frame's first row; with half_line it needs a row above it");
    }
  }

  /// The viewport's first column or row: the rule's own sum, in single precision.
  int Position(const CallRegion& from, const CallRegion& to) const {
    const bool isForward = (options_.direction & (KV_PAN_RIGHT | KV_PAN_DOWN)) != 0;
    const int frame = isForward ? options_.step : options_.steps - options_.step - 1;
    const auto size = [&](const CallRegion& region) {
      return IsSideways() ? region->GetWidth() : region->GetHeight();
    };
    const float step = options_.steps > 1 ? static_cast<float>(size(from) - size(to)) /
                                                static_cast<float>(options_.steps - 1)
                                          : 0.0F;
    const int start = IsSideways() ? from->GetLeft() : from->GetTop();
    return static_cast<int>(static_cast<float>(start) + static_cast<float>(frame) * step);
  }

  bool ReachesEnd(const CallRegion& from, const CallRegion& to) const {
    const std::int64_t left = IsSideways() ? Position(from, to) : from->GetLeft();
    return 2 * (left + static_cast<int>(to->GetWidth())) + reach >
           RowBytes(*source_.format, 0, source_.width);
  }

  /// Rows of the source that a band reads, and one or two around them.
  RowsOfTask RowsRead(const CallRegion& from, const CallRegion& to, const RowsOfTask& band) const {
    const int start = IsSideways() ? from->GetTop() : Position(from, to);
    const int first = std::max(from->GetTop(), start + band.first - 1);
    const int end = std::min(from->GetBottom() + 1, start + band.first + band.count + 2);
    return {first, end - first};
  }

  std::size_t StrideOfScratch() const {
    return static_cast<std::size_t>(RowBytes(*source_.format, 0, source_.width)) + 64;
  }
  void TakeRows(View<Packed>& in, const RowsOfTask& rows, Scratch& scratch) const {
    const auto bytes = static_cast<std::size_t>(RowBytes(*source_.format, 0, source_.width));
    std::uint8_t* memory = scratch.Data();
    for (int row = rows.first; row < rows.first + rows.count; ++row) {
      std::memcpy(memory, source_.Row(0, row), bytes);
      std::memset(memory + bytes, 0, StrideOfScratch() - bytes);
      in.PlaneRows()[row] = memory;
      memory += StrideOfScratch();
    }
  }

  const Call& call_;
  const Frame& source_;
  const Frame& destination_;
  const kv_pan_options& options_;
};

}  // namespace
}  // namespace kv_capi

using namespace kv_capi;

kv_status kv_change_parity(kv_context* context, const kv_frame* source, kv_frame* destination,
                           const kv_region* region, int32_t method, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame from = CheckFrame("source", source);
    const Frame to = CheckFrame("destination", destination);
    CheckRange("method", method, KV_PARITY_BLEND, KV_PARITY_FIELD);
    if (method == KV_PARITY_BLEND) {
      CheckStorage(from, Storage::Packed, packedFormats);
      CheckStorage(to, Storage::Packed, packedFormats);
    } else {
      CheckSameFormat(from, to);
    }
    CheckSameSize(from, to);
    CheckNoOverlap(from, to);
    const CallRegion where("region", region, to);
    CheckRectangular("region", where);
    if (method == KV_PARITY_BLEND) {
      ParityBands(with, from, to, where, region == nullptr).Run();
    } else if (region != nullptr) {
      Fail(KV_UNSUPPORTED, "region is given; only KV_PARITY_BLEND works inside regions");
    } else {
      ChangeLines(with, from, to, method);
    }
    destination->field_order =
        source->field_order == KV_FIELDS_BOTTOM_FIRST ? KV_FIELDS_TOP_FIRST : KV_FIELDS_BOTTOM_FIRST;
  });
}

void kv_pan_options_init(kv_pan_options* options) {
  if (options == nullptr) return;
  *options = {};
  options->struct_size = sizeof *options;
  options->direction = KV_PAN_RIGHT;
  options->steps = 1;
}

kv_status kv_pan(kv_context* context, const kv_frame* source, const kv_region* source_region,
                 kv_frame* destination, const kv_region* destination_region, const kv_pan_options* options,
                 const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame from = CheckFrame("source", source);
    const Frame to = CheckFrame("destination", destination);
    CheckStorage(from, Storage::Packed, packedFormats);
    CheckSameFormat(from, to);
    CheckNoOverlap(from, to);
    const CallRegion fromRegion("source_region", source_region, from);
    const CallRegion toRegion("destination_region", destination_region, to);
    const kv_pan_options checked = CheckOptions(options);
    Pan(with, from, to, checked).Run(fromRegion, toRegion);
  });
}
