#include "frame/interfaces/copy.h"

#include <algorithm>
#include <cstring>

#include "capi/context.h"
#include "capi/region.h"
#include "capi/view.h"
#include "frame/interfaces/copy_roi.h"

namespace kv_capi {
namespace {

using kv_img::Image;

/// Calls `work.operator()<PixelClass>()` with the pixel class of a format.
template <class Work>
void WithPixelClass(const Frame& frame, Work work) {
  switch (frame.format->code) {
    case KV_FORMAT_UYVY:
    case KV_FORMAT_YUY2:
      return work.template operator()<Packed>();
    case KV_FORMAT_UYVYA:
    case KV_FORMAT_YUY2A:
      return work.template operator()<PackedAlpha>();
    case KV_FORMAT_YUV411P:
      return work.template operator()<Planar>();
    case KV_FORMAT_GRAY8:
      return work.template operator()<Grey>();
    case KV_FORMAT_BGR24:
      return work.template operator()<Bitmap24>();
    case KV_FORMAT_BGRA32:
      return work.template operator()<Bitmap32>();
    case KV_FORMAT_RGB555:
      return work.template operator()<kv_img::PixelDIB15>();
    case KV_FORMAT_RGB565:
      return work.template operator()<kv_img::PixelDIB16>();
    default:
      Fail(KV_UNSUPPORTED, "%s->format is %s, which no exact copy takes; kv_convert does", frame.name,
           frame.format->name);
  }
}

/// By how many rows the picture moves from one frame to another.
int RowShift(const Frame& source, const Frame& destination) {
  return source.view->row_parity - destination.view->row_parity;
}

/// The planar copy works on four and eight pixels at a time, also where a row has fewer.
constexpr int widthOfPlanarSteps = 8;

/// Rows of a narrow planar frame, one by one: 16 pixels of scratch for every row hold what the steps touch.
struct NarrowRow {
  std::uint8_t luma[16] = {};
  std::uint8_t cb[8] = {};
  std::uint8_t cr[8] = {};
  std::uint8_t packed[32] = {};
};

template <class Operation>
void CopyNarrowRows(const Call& call, const Operation& operation, View<Planar>& source,
                    const Frame& destination, int first, int count) {
  const int width = destination.width;
  const auto chroma = static_cast<std::size_t>((width + 1) / 2);
  const auto rowBytes = static_cast<std::size_t>(RowBytes(*destination.format, 0, width));
  NarrowRow row;
  View<Planar> from(width, 1, kv_img::PixelLayout::planar, width);
  View<Packed> to(width, 1, destination.format->layout, static_cast<int>(rowBytes));
  *from.PlaneRows(0) = row.luma;
  *from.PlaneRows(1) = row.cb;
  *from.PlaneRows(2) = row.cr;
  *to.PlaneRows() = row.packed;
  for (int y = 0; y < count; ++y) {
    std::memcpy(row.luma, source.PlaneRows(0)[y], static_cast<std::size_t>(width));
    std::memcpy(row.cb, source.PlaneRows(1)[y], chroma);
    std::memcpy(row.cr, source.PlaneRows(2)[y], chroma);
    std::memcpy(row.packed, destination.Row(0, first + y), rowBytes);
    operation.Apply(*from, *to, call.Alone(), 0);
    std::memcpy(destination.Row(0, first + y), row.packed, rowBytes);
  }
}

template <class In, class Out>
void CopyFrames(const Call& call, const Frame& source, const Frame& destination) {
  using Interface = kv_img::CopyAlgorithmInterface<Image<In>, Image<Out>>;
  const auto* operation = call.Ask<Interface>("Copy", {In::ClassID, Out::ClassID});
  if (operation == nullptr) {
    const auto status = call.NamesMember() ? KV_NO_MEMBER : KV_UNSUPPORTED;
    Fail(status, "no %s offers an exact copy from %s to %s; kv_convert converts any pair",
         call.NamesMember() ? "member of this name" : "installed member", source.format->name,
         destination.format->name);
  }
  const int height = source.height;
  const int shift = RowShift(source, destination);
  const int tasks = call.TasksFor(std::int64_t{source.width} * height, height);
  call.ForEachTask(tasks, [&](int index) {
    const RowsOfTask rows = RowsOf(height, tasks, index);
    View<In> from(source, rows.first, rows.count);
    // The rows themselves are moved, so that bands know nothing of each other.
    if (shift != 0) {
      for (int plane = 0; plane < source.format->planes; ++plane) {
        for (int y = 0; y < rows.count; ++y) {
          from.PlaneRows(plane)[y] = source.Row(plane, std::clamp(rows.first + y + shift, 0, height - 1));
        }
      }
    }
    from->GetProperties().fieldParity = static_cast<std::uint8_t>(destination.view->row_parity);
    if constexpr (std::is_same_v<In, Planar> && std::is_same_v<Out, Packed>) {
      if (source.width < widthOfPlanarSteps) {
        return CopyNarrowRows(call, *operation, from, destination, rows.first, rows.count);
      }
    }
    View<Out> to(destination, rows.first, rows.count);
    operation->Apply(*from, *to, call.Alone(), 0);
  });
}

/// Equal sizes of the regions, row by row.
void CheckSameShape(const CallRegion& source, const CallRegion& destination) {
  const int rows = source.Rows();
  if (rows != destination.Rows()) {
    Fail(KV_SIZE_MISMATCH, "source_region has %d rows, destination_region %d; they must be equal", rows,
         destination.Rows());
  }
  for (int i = 0; i < rows; ++i) {
    const int from = source->GetTop() + i;
    const int to = destination->GetTop() + i;
    const int fromPixels = source->GetRight(from) - source->GetLeft(from) + 1;
    const int toPixels = destination->GetRight(to) - destination->GetLeft(to) + 1;
    if (fromPixels != toPixels) {
      Fail(KV_SIZE_MISMATCH,
           "row %d of source_region has %d pixels, of destination_region %d; they must be equal", i,
           fromPixels, toPixels);
    }
  }
}

/// The rows that a region copy reads, those of the other field where it moves the picture.
template <class PixelClass>
void ShiftRows(View<PixelClass>& view, const Frame& source, const Frame& destination, const CallRegion& from,
               const CallRegion& to) {
  view->GetProperties().fieldParity = static_cast<std::uint8_t>(destination.view->row_parity);
  const int shift = RowShift(source, destination);
  if (shift == 0) return;
  for (int row = from->GetTop(); row <= from->GetBottom(); ++row) {
    const int other = row - from->GetTop() + to->GetTop();
    // Packed pixels that change places in their pairs are taken from their own row.
    const bool isMoved =
        source.format->storage == Storage::Planar || (from->GetLeft(row) - to->GetLeft(other)) % 2 == 0;
    if (!isMoved) continue;
    const int moved = std::clamp(row + shift, from->GetTop(), from->GetBottom());
    for (int plane = 0; plane < source.format->planes; ++plane) {
      view.PlaneRows(plane)[row] = source.Row(plane, moved);
    }
  }
}

void CopyPackedRegion(const Call& call, const Frame& source, const Frame& destination, const CallRegion& from,
                      const CallRegion& to) {
  using Interface = kv_img::CopyROIAlgorithmInterface<Image<Packed>, Image<Packed>>;
  const auto& operation = call.Find<Interface>("CopyROI", {Packed::ClassID, Packed::ClassID});
  View<Packed> in(source);
  ShiftRows(in, source, destination, from, to);
  View<Packed> out(destination);
  RunBands(call, from.Rows(), from.Pixels(), operation, *in, *out, *from, *to);
}

void CheckEven(const char* name, const CallRegion& region) {
  if (region->GetLeft() % 2 == 0 && region->GetWidth() % 2 == 0) return;
  Fail(KV_BAD_ARGUMENT, "%s: columns %d to %d; from YUV411P the left column and the width must be even", name,
       region->GetLeft(), region->GetRight());
}

/// Writes a row back without the pixels that come from after the source's row.
void KeepRow(const Frame& source, int sourceLeft, const Frame& destination, int left,
             const std::uint8_t* from, std::uint8_t* to) {
  const std::int64_t end = std::int64_t{left} + source.width - sourceLeft;
  const std::int64_t rowBytes = RowBytes(*destination.format, 0, destination.width);
  const std::int64_t bytes = std::min(rowBytes, 4 * ((end + 1) / 2));
  const std::int64_t spare = 2 * end + (destination.format->layout == kv_img::PixelLayout::lumaFirst ? 0 : 1);
  const bool hasSpare = end % 2 != 0 && spare < rowBytes;
  const std::uint8_t kept = hasSpare ? to[spare] : std::uint8_t{0};
  std::memcpy(to, from, static_cast<std::size_t>(bytes));
  if (hasSpare) to[spare] = kept;
}

void CopyPlanarRegion(const Call& call, const Frame& source, const Frame& destination, const CallRegion& from,
                      const CallRegion& to) {
  using Interface = kv_img::CopyROIAlgorithmInterface<Image<Planar>, Image<Packed>>;
  const auto& operation = call.Find<Interface>("CopyROI", {Planar::ClassID, Packed::ClassID});
  CheckEven("source_region", from);
  CheckEven("destination_region", to);
  View<Planar> all(source);
  ShiftRows(all, source, destination, from, to);
  // The rule converts a whole row's pixels from the run's start on, whatever the run's length.
  const auto planeBytes = 2 * static_cast<std::size_t>(source.width) + 64;
  const auto packedBytes = 2 * static_cast<std::size_t>(destination.width) + 2 * planeBytes;
  constexpr int rowsOfTask = 16;
  const int rows = from.Rows();
  const int tasks = std::max(call.TasksFor(from.Pixels(), rows), (rows + rowsOfTask - 1) / rowsOfTask);
  kv_std::SpinBarrier barrier(tasks);
  call.ForEachTask(tasks, [&](int index) {
    const RowsOfTask band = RowsOf(rows, tasks, index);
    Scratch scratch(call.Context(), static_cast<std::size_t>(band.count) * (3 * planeBytes + packedBytes));
    View<Planar> in(source.width, source.height, kv_img::PixelLayout::planar, source.width);
    in->GetProperties().fieldParity = all->GetProperties().fieldParity;
    View<Packed> out(destination);
    std::uint8_t* memory = scratch.Data();
    const auto rowBytes = static_cast<std::size_t>(RowBytes(*destination.format, 0, destination.width));
    for (int y = band.first; y < band.first + band.count; ++y) {
      for (int plane = 0; plane < 3; ++plane) {
        const int row = from->GetTop() + y;
        const auto bytes = static_cast<std::size_t>(RowBytes(*source.format, plane, source.width));
        std::memcpy(memory, all.PlaneRows(plane)[row], bytes);
        std::memset(memory + bytes, 0, planeBytes - bytes);
        in.PlaneRows(plane)[row] = memory;
        memory += planeBytes;
      }
      std::uint8_t*& row = out.PlaneRows()[to->GetTop() + y];
      std::memcpy(memory, row, rowBytes);
      row = memory;
      memory += packedBytes;
    }
    operation.Apply(*in, *out, *from, *to, barrier, static_cast<std::uint32_t>(index));
    for (int y = band.first; y < band.first + band.count; ++y) {
      const int row = to->GetTop() + y;
      KeepRow(source, from->GetLeft(from->GetTop() + y), destination, to->GetLeft(row), out.PlaneRows()[row],
              destination.Row(0, row));
    }
  });
}

}  // namespace
}  // namespace kv_capi

using namespace kv_capi;

kv_status kv_copy(kv_context* context, const kv_frame* source, kv_frame* destination, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame from = CheckFrame("source", source);
    const Frame to = CheckFrame("destination", destination);
    CheckSameSize(from, to);
    CheckNoOverlap(from, to);
    WithPixelClass(from, [&]<class In>() {
      WithPixelClass(to, [&]<class Out>() { CopyFrames<In, Out>(with, from, to); });
    });
  });
}

kv_status kv_copy_region(kv_context* context, const kv_frame* source, const kv_region* source_region,
                         kv_frame* destination, const kv_region* destination_region, const kv_call* call) {
  return Guarded([&] {
    const Call with(context, call);
    const Frame from = CheckFrame("source", source);
    const Frame to = CheckFrame("destination", destination);
    CheckStorage(to, Storage::Packed, "UYVY or YUY2");
    if (from.format->code != KV_FORMAT_YUV411P) CheckStorage(from, Storage::Packed, "UYVY, YUY2 or YUV411P");
    CheckNoOverlap(from, to);
    const CallRegion fromRegion("source_region", source_region, from);
    const CallRegion toRegion("destination_region", destination_region, to);
    CheckSameShape(fromRegion, toRegion);
    if (from.format->storage == Storage::Planar) {
      CopyPlanarRegion(with, from, to, fromRegion, toRegion);
    } else {
      CopyPackedRegion(with, from, to, fromRegion, toRegion);
    }
  });
}
