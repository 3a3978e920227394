// The pieces of code that docs/write_a_host.md explains, in one program that checks what they come to.

#include <cstdio>
#include <vector>

#include "frame/interfaces/average_filter.h"
#include "frame/interfaces/copy.h"
#include "image/errors/exceptions.h"
#include "image/image.h"
#include "image/image_rect.h"
#include "image/run_region.h"
#include "run/runner.h"

using namespace kv_img;
using Frame = Image<PixelYUV422>;
using Planar = Image<PixelYUV411P>;
using Bitmap = Image<PixelDIB24>;
using GreyPixel = PixelNoColor<unsigned char>;
using Grey = Image<GreyPixel>;

namespace {

const kv_run::WorkerPool pool(4);

bool Layouts() {
  ImageOptions options;
  options.layout = PixelLayout::chromaFirst;
  Frame frame(720, 576, options);

  const auto& order = frame.GetPixelBuffer().descriptor;
  const int luma = order.GetPosition(PixelComponent::Luma);  // 1: Cb Y0 Cr Y1
  const int cb = order.GetPosition(PixelComponent::Cb);      // 0
  const auto row = frame.Row(10);
  row[static_cast<std::size_t>(luma)] = 235;
  row[static_cast<std::size_t>(cb)] = 128;
  return luma == 1 && cb == 0 && frame.GetPixelLayout() == PixelLayout::chromaFirst;
}

bool Regions() {
  Grey picture(720, 576);
  Grey soft(720, 576);
  picture.Row(82)[110] = 250;

  const ImageRect whole(picture);                // columns 0 to 719, rows 0 to 575
  const ImageRect rectangle(100, 80, 163, 143);  // left, top, right, bottom: 64 columns, 64 rows
  const RunRegion steps(80, {100, 104, 108},     // rows 80, 81, 82: their first columns
                        {111, 111, 111});        // and their last ones
  const RunRegion runs(rectangle);               // a rectangle as runs, which BlendBoost asks for

  const auto& filter =
      kv_run::Load<AverageFilterAlgorithmInterface<Grey>>("AverageFilter", {GreyPixel::ClassID});
  kv_run::Run(pool, filter, picture, soft, rectangle, 5U);
  kv_run::Run(pool, filter, picture, soft, steps, 5U);
  return whole.GetRight() == 719 && runs.GetBottom() == 143 && soft.Row(82)[110] != 0 &&
         soft.Row(82)[112] == 250 / 25;
}

bool ForeignMemory() {
  constexpr int width = 720;
  constexpr int height = 576;

  // Packed 4:2:2 with a stride of its own: row y starts at video + y * stride.
  const std::ptrdiff_t stride = 2 * width + 64;
  std::vector<std::uint8_t> video(static_cast<std::size_t>(stride) * height, 128);
  const Frame frame(width, height, WrappedRows::Strided(video.data(), stride));

  // A bottom-up bitmap: its top row is the last in memory, and the stride is negative.
  const std::ptrdiff_t line = 3 * width;
  std::vector<std::uint8_t> pixels(static_cast<std::size_t>(line) * height);
  Bitmap bitmap(width, height, WrappedRows::Strided(pixels.data() + line * (height - 1), -line));

  // Three planes as decoders give them: the rows of luma, then those of Cb, then those of Cr.
  std::vector<std::uint8_t> y(static_cast<std::size_t>(width) * height, 100);
  std::vector<std::uint8_t> cb(y.size() / 2, 128);
  std::vector<std::uint8_t> cr(y.size() / 2, 128);
  std::vector<std::uint8_t*> rows;
  for (int row = 0; row < height; ++row) rows.push_back(y.data() + row * width);
  for (int row = 0; row < height; ++row) rows.push_back(cb.data() + row * width / 2);
  for (int row = 0; row < height; ++row) rows.push_back(cr.data() + row * width / 2);
  const Planar planes(width, height, WrappedRows::Separate(rows));

  const auto& toBitmap = kv_run::Load<CopyAlgorithmInterface<Frame, Bitmap>>(
      "Copy", {PixelYUV422::ClassID, PixelDIB24::ClassID});
  kv_run::Run(pool, toBitmap, frame, bitmap);
  Frame packed(width, height);
  const auto& pack = kv_run::Load<CopyAlgorithmInterface<Planar, Frame>>(
      "Copy", {PixelYUV411P::ClassID, PixelYUV422::ClassID});
  kv_run::Run(pool, pack, planes, packed);
  return pixels[0] == 130 && packed.Row(575)[0] == 100 && packed.Row(575)[1] == 128;
}

bool Errors() {
  const Frame frame(720, 576);
  Bitmap smaller(720, 480);
  const auto& copy = kv_run::Load<CopyAlgorithmInterface<Frame, Bitmap>>(
      "Copy", {PixelYUV422::ClassID, PixelDIB24::ClassID});
  constexpr std::uint32_t sizesDiffer = 1;
  try {
    kv_run::Run(pool, copy, frame, smaller);
  } catch (const AlgoMMXException& error) {
    std::fprintf(stderr, "%ls\n", error.Message().c_str());  // Incompatible image sizes in method CopySSE2
    return error.Code() == sizesDiffer;
  }
  return false;
}

}  // namespace

int main() try {
  return Layouts() && Regions() && ForeignMemory() && Errors() ? 0 : 1;
} catch (const kv_std::KVException& error) {
  std::fprintf(stderr, "%ls\n", error.Message().c_str());
  return 1;
}
