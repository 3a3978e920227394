#include "host/av/door.h"

#include <cstdio>
#include <new>

#include "host/av/clip.h"

struct KvAvClip : kv_av::Clip {
  using Clip::Clip;
};

namespace {

int Open(const KvAvInput* input, const KvAvOptions* options, KvAvClip** clip, char* problem) {
  *clip = nullptr;
  try {
    *clip = new KvAvClip(*input, *options);
    return KvAvDone;
  } catch (const kv_av::Problem& refusal) {
    std::snprintf(problem, KvAvProblemSize, "%s", refusal.text.c_str());
    return refusal.result;
  } catch (const std::bad_alloc&) {
    std::snprintf(problem, KvAvProblemSize, "out of memory");
    return KvAvDamaged;
  }
}

void Info(KvAvClip* clip, KvAvInfo* info) {
  clip->Info(*info);
}

int Next(KvAvClip* clip, KvAvFrame* frame, char* problem) {
  try {
    return clip->Next(*frame, problem);
  } catch (const std::bad_alloc&) {
    std::snprintf(problem, KvAvProblemSize, "out of memory");
    return KvAvDamaged;
  }
}

void Close(KvAvClip* clip) {
  delete clip;
}

constexpr KvAvDoor door = {KvAvVersion, Open, Info, Next, Close};

}  // namespace

extern "C" __attribute__((visibility("default"))) const KvAvDoor* kv_av_door() {
  return &door;
}
