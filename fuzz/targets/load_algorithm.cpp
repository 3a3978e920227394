// What every member answers to any name, count and pixel classes.

#include <fuzzer/FuzzedDataProvider.h>

#include "fuzz/check_input.h"
#include "tests/plugin/requests.h"
#include "tests/support/member.h"

using kv_test::Request;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  Request request;
  request.name = input.ConsumeBool()
                     ? kv_test::algorithmNames[input.ConsumeIntegralInRange<std::size_t>(0, 11)]
                     : input.ConsumeRandomLengthString(40);
  // A name ends at its first NUL.
  request.name = request.name.c_str();
  const int count = input.ConsumeBool() ? input.ConsumeIntegralInRange(0, 3) : input.ConsumeIntegral<int>();
  // No more identifiers than an algorithm has images are read.
  for (int i = 0; i < std::clamp(count, 0, 2); ++i) {
    request.ids.push_back(input.ConsumeBool()
                              ? kv_test::classIds[input.ConsumeIntegralInRange<std::size_t>(0, 11)]
                              : input.ConsumeIntegral<int>());
  }
  for (const kv_test::Member& member : kv_test::Members()) {
    const auto* answer = member.Load(request.name.c_str(), request.ids.data(), count);
    const bool isOffered =
        count == static_cast<int>(request.ids.size()) && kv_test::RequestsOf(member.Name()).contains(request);
    kv_fuzz::Require((answer != nullptr) == isOffered,
                     member.Name() + " answers " + request.name + " wrongly");
  }
  return 0;
}
