// Calls one contender of an operation again and again, for what counts the instructions of a call: the same program
// with one more call takes just as many more.

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "bench/contest.h"
#include "tests/support/family.h"

namespace {

constexpr int width = 720;
constexpr int height = 16;

constexpr const char* usage =
    "instructions                             lists operations, contenders and pixels of a call\n"
    "instructions OPERATION CONTENDER CALLS   calls it\n";

bool IsCounted(const kv_bench::Contender& contender) {
  return contender.name.starts_with(kv_test::wideMember) || contender.name.starts_with("libyuv");
}

void List(kv_bench::Contest& contest) {
  for (const kv_bench::Operation& operation : contest.Operations()) {
    if (operation.bytesPerPixel == 0 && operation.differences == 0) continue;
    const double units = operation.differences > 0 ? operation.differences : double{width} * height;
    for (const kv_bench::Contender& contender : operation.contenders) {
      if (IsCounted(contender))
        std::printf("%s\t%s\t%.0f\n", operation.name.c_str(), contender.name.c_str(), units);
    }
  }
}

int Call(kv_bench::Contest& contest, const char* operation, const char* contender, int calls) {
  const auto wanted = std::ranges::find(contest.Operations(), operation, &kv_bench::Operation::name);
  if (wanted == contest.Operations().end()) return 2;
  const auto run = std::ranges::find(wanted->contenders, contender, &kv_bench::Contender::name);
  if (run == wanted->contenders.end()) return 2;
  // A search looks this far around the middle.
  kv_bench::Scene scene(width, wanted->differences > 0 ? 160 : height);
  kv_std::SpinBarrier alone(1);
  for (int call = 0; call < calls; ++call) run->run(scene, alone, 0);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  kv_bench::Contest contest;
  kv_bench::EnterMembers(contest);
  kv_bench::EnterLibyuv(contest);
  if (argc == 1) {
    List(contest);
    return 0;
  }
  const int status = argc == 4 ? Call(contest, argv[1], argv[2], std::atoi(argv[3])) : 2;
  if (status != 0) std::fputs(usage, stderr);
  return status;
}
