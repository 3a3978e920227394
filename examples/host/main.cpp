// A host: converts a frame of packed 4:2:2 video with the best member that is installed, on four threads, and
// saves the picture. Run as: host picture.ppm

#include <cstdio>
#include <fstream>

#include "frame/interfaces/copy.h"
#include "image/errors/kv_exception.h"
#include "image/image.h"
#include "run/runner.h"

using namespace kv_img;
using Frame = Image<PixelYUV422>;
using Bitmap = Image<PixelDIB24>;
using CopyToBitmap = CopyAlgorithmInterface<Frame, Bitmap>;

int main(int argc, char** argv) try {
  Frame frame(720, 576);  // luma rises to the right, blue downwards
  for (int y = 0; y < 576; ++y) {
    for (std::size_t pair = 0; pair < 360; ++pair) {
      const auto bytes = frame.Row(y).subspan(4 * pair, 4);  // Y0 Cb Y1 Cr
      bytes[0] = bytes[2] = static_cast<std::uint8_t>(16 + pair * 219 / 359);
      bytes[1] = static_cast<std::uint8_t>(16 + y * 224 / 575);
      bytes[3] = 128;
    }
  }

  const auto& copy = kv_run::Load<CopyToBitmap>("Copy", {PixelYUV422::ClassID, PixelDIB24::ClassID});
  Bitmap bitmap(720, 576);
  kv_run::Run(kv_run::WorkerPool(4), copy, frame, bitmap);

  std::ofstream file(argc > 1 ? argv[1] : "picture.ppm", std::ios::binary);
  file << "P6\n720 576\n255\n";
  for (int y = 0; y < 576; ++y) {  // blue first in memory, red first in the file
    const auto row = bitmap.Row(y).first(720 * 3);
    for (std::size_t x = 0; x < row.size(); x += 3) file.put(row[x + 2]).put(row[x + 1]).put(row[x]);
  }
  return file.flush() ? 0 : 1;
} catch (const kv_std::KVException& error) {
  std::fprintf(stderr, "%ls\n", error.Message().c_str());
  return 1;
}
