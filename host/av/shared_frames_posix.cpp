#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "host/av/shared_frames.h"
#include "host/formats/raster.h"

namespace kv_host {
namespace {

/// No kind of raster has more in a row of even width.
constexpr std::int64_t MostBytesOfAPixel = 4;

}  // namespace

int SharedFrames::Create(std::int64_t mostBytes) {
  const int descriptor = memfd_create("kv frames", MFD_CLOEXEC | MFD_ALLOW_SEALING);
  if (descriptor < 0) return descriptor;
  const std::int64_t page = sysconf(_SC_PAGESIZE);
  // A limit of the size of files is one of this memory, too.
  rlimit files{};
  getrlimit(RLIMIT_FSIZE, &files);
  const auto most = static_cast<std::int64_t>(std::min(files.rlim_cur, static_cast<rlim_t>(mostBytes)));
  const std::int64_t place = std::min(most / Places, MostBytesOfAPixel * MostPixels) / page * page;
  const bool isMade = ftruncate(descriptor, Places * std::max(place, page)) == 0 &&
                      fcntl(descriptor, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) == 0;
  if (isMade) return descriptor;
  close(descriptor);
  return -1;
}

SharedFrames::SharedFrames(int descriptor, bool isWritten) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return;
  const auto size = static_cast<std::size_t>(status.st_size);
  void* bytes =
      mmap(nullptr, size, isWritten ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, descriptor, 0);
  if (bytes == MAP_FAILED) return;
  bytes_ = static_cast<std::uint8_t*>(bytes);
  placeSize_ = size / Places;
}

SharedFrames::~SharedFrames() {
  if (bytes_ != nullptr) munmap(bytes_, Places * placeSize_);
}

}  // namespace kv_host
