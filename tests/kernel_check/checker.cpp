#include "tests/kernel_check/checker.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <sstream>

#include "check/random.h"
#include "tests/kernel_check/guarded_pages.h"

namespace kv_check {
namespace {

constexpr std::size_t guard = 128;
std::string currentKernel;

std::size_t SpanOf(const Stream& stream, int groups) {
  return stream.fixed + static_cast<std::size_t>(groups) * stream.perGroup;
}
std::size_t BeforeOf(const Stream& stream, int groups) {
  return groups > 0 ? stream.before : 0;
}
std::size_t BehindOf(const Stream& stream, int groups) {
  return groups > 0 ? stream.after : 0;
}

/// The memory of one stream for the longest call, ending at a protected page.
class StreamMemory {
 public:
  StreamMemory(const Stream& stream, int maxGroups)
      : stream_(stream), pages_(2 * guard + 64 + stream.before + SpanOf(stream, maxGroups) + stream.after) {}

  /// Places a call of `groups`: its last byte is `gap` bytes, in whole elements, before the protected page.
  void Place(int groups, std::size_t gap) {
    groups_ = groups;
    start_ =
        pages_.End() - (gap - gap % stream_.element) - BehindOf(stream_, groups) - SpanOf(stream_, groups);
  }
  void Fill(Random& random) {
    random.Fill({pages_.Begin(), pages_.End()});
    if (stream_.limit) stream_.limit(pages_.Begin(), pages_.End());
  }
  void CopyBytesOf(const StreamMemory& other) {
    std::copy(other.pages_.Begin(), other.pages_.End(), pages_.Begin());
  }
  std::uint8_t* Start() const { return start_; }
  std::uint8_t* ExpectedEnd() const { return start_ + static_cast<std::size_t>(groups_) * stream_.perGroup; }
  /// Where this stream differs from `reference`; empty when nowhere.
  std::string Difference(const StreamMemory& reference) const {
    if (std::equal(pages_.Begin(), pages_.End(), reference.pages_.Begin())) return {};
    const auto [mine, theirs] = std::mismatch(pages_.Begin(), pages_.End(), reference.pages_.Begin());
    const std::ptrdiff_t at = mine - start_;
    std::ostringstream text;
    if (at < -static_cast<std::ptrdiff_t>(BeforeOf(stream_, groups_))) {
      text << "overwrite on the left at byte " << at;
    } else if (at >= static_cast<std::ptrdiff_t>(SpanOf(stream_, groups_) + BehindOf(stream_, groups_))) {
      text << "overwrite on the right at byte " << at;
    } else {
      text << "byte " << at << " is " << int{*mine} << ", the reference gives " << int{*theirs};
    }
    return text.str();
  }

 private:
  Stream stream_;
  GuardedPages pages_;
  int groups_ = 0;
  std::uint8_t* start_ = nullptr;
};

using Streams = std::vector<std::unique_ptr<StreamMemory>>;

Streams MemoryFor(const std::vector<Stream>& streams, int maxGroups) {
  Streams memory;
  memory.reserve(streams.size());
  for (const Stream& stream : streams) memory.push_back(std::make_unique<StreamMemory>(stream, maxGroups));
  return memory;
}

std::string RunOne(const Variant& variant, int groups, std::uint64_t seed, const Streams& inputs,
                   const Streams& outputs) {
  std::vector<const std::uint8_t*> sources;
  std::vector<std::uint8_t*> destinations;
  for (const auto& input : inputs) sources.push_back(input->Start());
  for (const auto& output : outputs) destinations.push_back(output->Start());
  Call call{groups, seed, sources.data(), destinations.data()};
  variant.run(call);
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    if (sources[i] != inputs[i]->ExpectedEnd())
      return "input pointer " + std::to_string(i) + " left at a wrong place";
  }
  for (std::size_t i = 0; i < outputs.size(); ++i) {
    if (destinations[i] != outputs[i]->ExpectedEnd()) {
      return "output pointer " + std::to_string(i) + " left at a wrong place";
    }
  }
  return {};
}

}  // namespace

const char* CurrentKernel() {
  return currentKernel.c_str();
}

std::string Check(const KernelCase& kernel, const Variant& variant, std::uint64_t seed, int rounds) {
  const int maxGroups = 2 * kernel.widestStep + 5;
  Random random(seed);
  const Streams inputs = MemoryFor(kernel.inputs, maxGroups);
  const Streams outputs = MemoryFor(kernel.outputs, maxGroups);
  const Streams expected = MemoryFor(kernel.outputs, maxGroups);
  const Streams untouched = MemoryFor(kernel.inputs, maxGroups);

  for (int round = 0; round < rounds; ++round) {
    const int groups = round % (maxGroups + 1);
    std::ostringstream where;
    where << kernel.name << " (" << variant.set << "), seed " << seed << ", round " << round << ", " << groups
          << " groups";
    currentKernel = where.str();
    // One stream at a time walks through all offsets; the others start anywhere. Every other round the walker
    // ends at the protected page.
    const std::size_t streams = inputs.size() + outputs.size();
    const std::size_t walker = static_cast<std::size_t>(round) % streams;
    const auto gapOf = [&](std::size_t stream) -> std::size_t {
      if (stream == walker) return static_cast<std::size_t>(round) / streams % 64;
      return static_cast<std::size_t>(random.OneIn(4) ? 0 : random.Between(0, 63 + static_cast<int>(guard)));
    };
    for (std::size_t i = 0; i < inputs.size(); ++i) {
      inputs[i]->Place(groups, gapOf(i));
      inputs[i]->Fill(random);
      untouched[i]->CopyBytesOf(*inputs[i]);
    }
    for (std::size_t i = 0; i < outputs.size(); ++i) {
      const std::size_t gap = gapOf(inputs.size() + i);
      outputs[i]->Place(groups, gap);
      expected[i]->Place(groups, gap);
      outputs[i]->Fill(random);
      expected[i]->CopyBytesOf(*outputs[i]);
    }
    const std::uint64_t constants = random.Next();
    std::string wrong = RunOne(kernel.variants.front(), groups, constants, inputs, expected);
    if (!wrong.empty()) return currentKernel + ": reference: " + wrong;
    wrong = RunOne(variant, groups, constants, inputs, outputs);
    for (std::size_t i = 0; wrong.empty() && i < inputs.size(); ++i) {
      const std::string changed = inputs[i]->Difference(*untouched[i]);
      if (!changed.empty()) wrong = "input " + std::to_string(i) + " was written to: " + changed;
    }
    for (std::size_t i = 0; wrong.empty() && i < outputs.size(); ++i) {
      const std::string differs = outputs[i]->Difference(*expected[i]);
      if (!differs.empty()) wrong = "output " + std::to_string(i) + ": " + differs;
    }
    if (!wrong.empty()) return currentKernel + ": " + wrong;
  }
  return {};
}

}  // namespace kv_check
