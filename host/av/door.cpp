#include "host/av/door.h"

#include <cstdio>
#include <new>

#include "host/av/clip.h"
#include "host/av/recording.h"

struct KvAvClip : kv_av::Clip {
  using Clip::Clip;
};

struct KvAvRecording : kv_av::Recording {
  using Recording::Recording;
};

namespace {

/// What goes wrong in `work` as a result and its text.
template <class Work>
int Guard(char* problem, const Work& work) {
  try {
    return work();
  } catch (const kv_av::Problem& refusal) {
    std::snprintf(problem, KvAvProblemSize, "%s", refusal.text.c_str());
    return refusal.result;
  } catch (const std::bad_alloc&) {
    std::snprintf(problem, KvAvProblemSize, "out of memory");
    return KvAvDamaged;
  }
}

int Open(const KvAvInput* input, const KvAvOptions* options, KvAvClip** clip, char* problem) {
  *clip = nullptr;
  return Guard(problem, [&] {
    *clip = new KvAvClip(*input, *options);
    return KvAvDone;
  });
}

void Info(KvAvClip* clip, KvAvInfo* info) {
  clip->Info(*info);
}

int Next(KvAvClip* clip, KvAvFrame* frame, char* problem) {
  return Guard(problem, [&] { return clip->Next(*frame, problem); });
}

void Close(KvAvClip* clip) {
  delete clip;
}

int Create(const KvAvOutput* output, const KvAvTarget* target, KvAvRecording** recording, char* problem) {
  *recording = nullptr;
  return Guard(problem, [&] {
    *recording = new KvAvRecording(*output, *target);
    return KvAvDone;
  });
}

int Add(KvAvRecording* recording, const std::uint8_t* bytes, std::size_t count, double time, char* problem) {
  return Guard(problem, [&] {
    recording->Add({bytes, count}, time);
    return KvAvDone;
  });
}

int Finish(KvAvRecording* recording, char* problem) {
  return Guard(problem, [&] {
    recording->Finish();
    return KvAvDone;
  });
}

void Release(KvAvRecording* recording) {
  delete recording;
}

constexpr KvAvDoor door = {KvAvVersion, Open, Info, Next, Close, Create, Add, Finish, Release};

}  // namespace

extern "C" __attribute__((visibility("default"))) const KvAvDoor* kv_av_door() {
  return &door;
}
