#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/av/container.h"
#include "host/av/door.h"
#include "host/av/key_frames.h"
#include "host/av/library.h"
#include "host/av/resources.h"
#include "host/av/samples.h"
#include "host/av/slice_check.h"

namespace kv_av {

/// The video of one container, decoded from front to back, or from a key frame before the first frame that is wanted.
class Clip {
 public:
  /// Throws Problem.
  Clip(const KvAvInput& input, const KvAvOptions& options);

  void Info(KvAvInfo& info) const;
  /// KvAvDone, KvAvPassed for a frame before the first that is wanted, KvAvEnd, or KvAvDamaged with the text of what went
  /// wrong.
  int Next(KvAvFrame& frame, char* problem);

 private:
  enum Fault : std::int64_t { FaultNone, FaultCut, FaultDamaged };

  void OpenDecoder();
  Fault FaultOf(const AVPacket& packet);
  const char* ProblemOfFrame() const;
  bool Receive(char* problem, int& result);
  void NoteFields();
  void Describe(KvAvFrame& out);
  bool ReadOpening();
  void GoNearFirst();
  void Restart();
  bool IsBeforeKeyFrame(bool isThere, int result);

  KvAvOptions options_;
  Container container_;
  std::unique_ptr<AVCodecContext, Release> decoder_;
  std::unique_ptr<AVPacket, Release> packet_;
  std::unique_ptr<AVFrame, Release> frame_;
  SliceCheck slices_;
  Samples samples_;
  std::optional<Opening> opening_;   // while it is read
  std::vector<std::int64_t> times_;  // of its packets
  std::optional<KeyFrame> from_;     // until its frame has come
  std::int64_t number_ = 0;          // of the frame that comes next
  std::optional<int> interlace_;
  int readError_ = 0;       // of the container
  bool hasPacket_ = false;  // which was read and not yet decoded
  bool hasAlphaDecoder_ = false;
  bool isPlaced_ = false;
  bool isAtEnd_ = false;
};

}  // namespace kv_av
