#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "check/operation_case.h"
#include "check/random_regions.h"
#include "check/test_image.h"
#include "frame/algorithm_list.h"
#include "frame/spin_barrier.h"
#include "image/errors/exceptions.h"

// Tools for the random calls of operation_case.h.
namespace kv_check {

/// How an operation is called, and its plain rule.
struct RowCheck {
  Comparison (*compare)(Random&, const kv_img::AlgorithmInterface&, const kv_img::AlgorithmInterface&);
  const kv_img::AlgorithmInterface* rule;
};

template <class Rule>
const kv_img::AlgorithmInterface* RuleOf() {
  static const Rule rule{};
  return &rule;
}

/// Appends every combination of an algorithm; `checkOf(PixelClasses)` returns its RowCheck.
template <class Algorithm, class CheckOf>
void AddRows(std::vector<OperationCase>& list, CheckOf checkOf) {
  kv_img::ForEach(typename Algorithm::AllRows{}, [&]<class... Classes>(kv_img::PixelClasses<Classes...> row) {
    const RowCheck check = checkOf(row);
    list.push_back({Algorithm::name, {Classes::ClassID...}, check.compare, check.rule});
  });
}

/// Throws for a rule. Only the code is compared: members put their own names into the message.
[[noreturn]] inline void Refuse(std::uint32_t code) {
  throw kv_img::AlgoMMXException(code, L"rule", L"");
}

template <class A, class B>
bool HaveEqualSizes(const A& a, const B& b) {
  return a.GetWidth() == b.GetWidth() && a.GetHeight() == b.GetHeight();
}

/// The result of a call, apart from the pixels.
struct CallResult {
  /// Class and code of the exception; empty: none.
  std::string error;
  /// The same for people.
  std::string message = "nothing";
  std::vector<double> values;
};

/// Makes `call(operation, values, images…)` with images equal to these.
template <class Interface, class Call, class... Classes>
CallResult MakeCall(const kv_img::AlgorithmInterface& operation, Call& call,
                    std::tuple<TestImage<Classes>...>& images) {
  CallResult result;
  try {
    std::apply(
        [&](auto&... image) { call(static_cast<const Interface&>(operation), result.values, *image...); },
        images);
  } catch (const kv_std::KVException& error) {
    const std::string code = std::to_string(error.Code());
    result.error = typeid(error).name() + (" " + code);
    const std::wstring& text = error.Message();
    result.message = "exception " + code + " (" + std::string(text.begin(), text.end()) + ")";
  }
  return result;
}

/// Makes the same call on both objects.
template <class Interface, class Call, class... Classes>
Comparison CompareCalls(const kv_img::AlgorithmInterface& reference, const kv_img::AlgorithmInterface& other,
                        Call call, const TestImage<Classes>&... images) {
  std::tuple<TestImage<Classes>...> expected(images...);
  std::tuple<TestImage<Classes>...> actual(images...);
  const CallResult expectedResult = MakeCall<Interface>(reference, call, expected);
  const CallResult result = MakeCall<Interface>(other, call, actual);
  Comparison comparison;
  comparison.wasRefused = !expectedResult.error.empty();
  if (result.error != expectedResult.error) {
    comparison.difference = "throws " + result.message + ", not " + expectedResult.message;
  } else if (result.values != expectedResult.values) {
    comparison.difference = "gives other values";
  } else {
    std::apply(
        [&](const auto&... image) {
          std::apply([&](const auto&... as) { ((comparison.difference += image.DifferenceFrom(as)), ...); },
                     expected);
        },
        actual);
  }
  return comparison;
}

/// Calls `work(barrier, index)` for the threads of a call in turn: for operations that never wait.
template <class Work>
void InTurn(int threads, Work work) {
  kv_std::SpinBarrier barrier(threads);
  for (int index = 0; index < threads; ++index) work(barrier, static_cast<std::uint32_t>(index));
}

template <class PixelClass>
inline constexpr bool isPackedYuv =
    std::is_same_v<PixelClass, kv_img::PixelYUV422> || std::is_same_v<PixelClass, kv_img::PixelYUVA422>;

/// Options of an image of packed 4:2:2 in either byte order, or of a bitmap in either.
template <class PixelClass>
kv_img::ImageOptions AnyOptions(Random& random) {
  using namespace kv_img::PixelLayout;
  kv_img::ImageOptions options;
  const bool isSecond = random.OneIn(2);
  if (isPackedYuv<PixelClass>) {
    options.layout = isSecond ? chromaFirst : lumaFirst;
  } else if (std::is_same_v<typename kv_img::DescriptorOf<PixelClass>::Type, kv_img::PixelDescriptorDIB>) {
    options.layout = isSecond ? redFirst : blueFirst;
  }
  options.properties.fieldParity = static_cast<std::uint8_t>(random.Between(0, 2));
  options.properties.fieldOrder = static_cast<std::uint8_t>(random.Between(0, 1));
  // The rows are scattered, so the image is no single block.
  options.properties.propertyFlag = 1;
  return options;
}

template <class PixelClass>
TestImage<PixelClass> AnyImage(Random& random, int width, int height, std::size_t slack = 8) {
  const kv_img::ImageOptions options = AnyOptions<PixelClass>(random);
  return {random, width, height, Placement::Any(random, slack), options};
}

/// `size`, or now and then a size that does not match.
inline int AlmostAlways(Random& random, int size) {
  return random.OneIn(40) ? size + 1 : size;
}

}  // namespace kv_check
