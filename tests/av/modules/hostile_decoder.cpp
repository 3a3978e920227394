// In the place of kv_av: does what the first letter of its file says, as a decoder that somebody has taken over could.

#include <unistd.h>

#include <cstdint>
#include <cstdlib>

#include "host/av/door.h"

namespace {

std::uint8_t letter = 0;

int Open(const KvAvInput* input, const KvAvOptions*, KvAvClip** clip, char*) {
  input->read(input->context, &letter, 1);
  *clip = reinterpret_cast<KvAvClip*>(&letter);
  return KvAvDone;
}

void Info(KvAvClip*, KvAvInfo* info) {
  *info = {};
}

int Next(KvAvClip*, KvAvFrame*, char*) {
  constexpr char nonsense[] = "what no decoder says";
  if (letter == 'a') std::abort();
  if (letter == 'e') _exit(EXIT_SUCCESS);
  if (letter == 'n' && write(STDOUT_FILENO, nonsense, sizeof nonsense) < 0) return KvAvDamaged;
  if (letter == 'c') close(STDOUT_FILENO);
  for (;;) pause();
}

constexpr KvAvDoor door = {KvAvVersion, Open, Info, Next, nullptr, nullptr, nullptr, nullptr, nullptr};

}  // namespace

extern "C" __attribute__((visibility("default"))) const KvAvDoor* kv_av_door() {
  return &door;
}
