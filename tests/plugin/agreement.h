#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "errors/exceptions.h"
#include "tests/plugin/requests.h"
#include "tests/support/member.h"
#include "tests/support/random.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

// The same call to every member, on equal images.
namespace kv_test {

/// What a call gave beside pixels.
struct CallResult {
  /// Code of the exception; 0: none.
  std::uint32_t error = 0;
  std::vector<double> values;

  bool operator==(const CallResult&) const = default;
};

/// Makes `call(operation, values, images…)` on every member with images equal to these, and expects the same
/// bytes in all images, the same values and the same error code. True when the call was not refused.
template <class Interface, class Call, class... Classes>
bool ExpectAgreement(const Request& request, Call call, const TestImage<Classes>&... images) {
  std::optional<std::tuple<TestImage<Classes>...>> expected;
  CallResult expectedResult;
  for (const Member& member : Members()) {
    const auto* operation = static_cast<const Interface*>(
        member.Load(request.name.c_str(), request.ids.data(), static_cast<int>(request.ids.size())));
    if (operation == nullptr) {
      ADD_FAILURE() << member.Name() << " does not answer " << request.name;
      return false;
    }
    std::tuple<TestImage<Classes>...> copies(images...);
    CallResult result;
    try {
      std::apply([&](auto&... copy) { call(*operation, result.values, *copy...); }, copies);
    } catch (const kv_std::KVException& error) {
      result.error = error.Code();
    }
    if (!expected) {
      std::apply([&](const auto&... copy) { expected.emplace(copy...); }, copies);
      expectedResult = result;
      continue;
    }
    EXPECT_EQ(result, expectedResult) << member.Name() << " gives other values or another error";
    std::string difference;
    std::apply(
        [&](const auto&... copy) {
          std::apply([&](const auto&... other) { ((difference += copy.DifferenceFrom(other)), ...); },
                     *expected);
        },
        copies);
    EXPECT_EQ(difference, "") << member.Name() << " gives other bytes";
  }
  return expectedResult.error == 0;
}

}  // namespace kv_test
