// Random operations for a given time, on several threads at once: every member compared with the scalar member,
// members that are loaded and unloaded, calls of the C interface that are stopped or run out of memory.
// usage: soak SECONDS [SEED]. A line every ten seconds; exit status 1 after a difference.

#include <dlfcn.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "capi/kv/kv.h"
#include "check/operation_case.h"
#include "tests/support/family.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using kv_check::Random;

/// Allocations of a thread that are left before one fails; below 0: none fails.
thread_local long allocationsLeft = -1;

std::atomic<bool> isOver = false;
std::atomic<long> memberCalls = 0;
std::atomic<long> reloads = 0;
std::atomic<long> interfaceCalls = 0;
std::atomic<long> stops = 0;
std::atomic<long> shortages = 0;
std::atomic<long> differences = 0;
std::mutex reportLock;

void Report(const std::string& what) {
  const std::lock_guard guard(reportLock);
  ++differences;
  std::printf("DIFFERENCE %s\n", what.c_str());
  std::fflush(stdout);
}

/// A member in a file of its own, so that nobody else keeps it loaded.
class Reloaded {
 public:
  explicit Reloaded(const fs::path& file) : module_(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (module_ == nullptr) {
      Report(std::string("a member does not load: ") + dlerror());
      return;
    }
    load_ = reinterpret_cast<decltype(load_)>(dlsym(module_, "_LoadAlgorithm"));
  }
  Reloaded(const Reloaded&) = delete;
  Reloaded& operator=(const Reloaded&) = delete;
  ~Reloaded() {
    if (module_ != nullptr) dlclose(module_);
  }

  const kv_img::AlgorithmInterface* Get(const kv_check::OperationCase& operation) const {
    if (load_ == nullptr) return nullptr;
    return load_(operation.algorithm.c_str(), operation.ids.data(), static_cast<int>(operation.ids.size()));
  }

 private:
  void* module_;
  kv_img::AlgorithmInterface* (*load_)(const char*, const int*, int) = nullptr;
};

/// The members' own operations against the scalar ones and the rules.
void CompareMembers(std::uint64_t seed, const fs::path& programs, const fs::path& folder) {
  Random random(seed);
  std::vector<fs::path> copies;
  for (const char* name : {"kv_algoC", kv_test::wideMember, kv_test::commonMember}) {
    copies.push_back(folder / (std::string(name) + "_" + std::to_string(seed) + ".so"));
    fs::copy_file(programs / (std::string(name) + ".so"), copies.back(),
                  fs::copy_options::overwrite_existing);
  }
  const auto& operations = kv_check::AllOperations();
  while (!isOver) {
    const Reloaded scalar(copies[0]);
    const Reloaded tested(copies[static_cast<std::size_t>(random.Between(1, 2))]);
    ++reloads;
    for (int call = 0; call < 200 && !isOver; ++call) {
      const auto& operation =
          operations[static_cast<std::size_t>(random.Between(0, static_cast<int>(operations.size()) - 1))];
      const auto* reference = scalar.Get(operation);
      const auto* other = tested.Get(operation);
      if (other == nullptr) continue;
      const std::uint64_t callSeed = random.Next();
      Random choices(callSeed);
      const kv_check::Comparison result =
          operation.compare(choices, reference != nullptr ? *reference : *operation.rule, *other);
      ++memberCalls;
      if (!result.difference.empty()) {
        Report(operation.algorithm + ", seed " + std::to_string(callSeed) + ": " + result.difference);
      }
    }
  }
}

class Frame {
 public:
  Frame(int format, int width, int height) {
    kv_frame_init(&view);
    view.format = format;
    view.width = width;
    view.height = height;
    if (kv_frame_alloc(&view) != KV_OK) throw std::bad_alloc();
  }
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;
  ~Frame() { kv_frame_free(&view); }

  template <class Row>
  void ForRows(Row row) {
    std::int32_t planes = 0;
    kv_format_planes(view.format, &planes);
    for (std::int32_t plane = 0; plane < planes; ++plane) {
      std::int64_t bytes = 0;
      kv_format_row_bytes(view.format, plane, view.width, &bytes);
      for (int y = 0; y < view.height; ++y) {
        row(plane, view.planes[plane] + y * view.strides[plane], y, static_cast<std::size_t>(bytes));
      }
    }
  }
  void Fill(Random& random) {
    ForRows([&](int, std::uint8_t* row, int, std::size_t bytes) { random.Fill({row, bytes}); });
  }
  bool Equals(Frame& other) {
    bool isEqual = true;
    ForRows([&](int plane, const std::uint8_t* row, int y, std::size_t bytes) {
      isEqual =
          isEqual && std::memcmp(row, other.view.planes[plane] + y * other.view.strides[plane], bytes) == 0;
    });
    return isEqual;
  }

  kv_frame view;
};

kv_status CallOne(int kind, int window, kv_context* context, const kv_frame& a, const kv_frame& b,
                  kv_frame& to, const kv_call* call) {
  switch (kind) {
    case 0:
      return kv_difference(context, &a, &b, &to, nullptr, call);
    case 1:
      return kv_alpha_from_color(context, &a, &b, &to, nullptr, window, call);
    case 2:
      return kv_box_filter(context, &a, &to, nullptr, window, call);
    case 3:
      return kv_average(context, &a, nullptr, &b, nullptr, &to, nullptr, call);
    case 4:
      return kv_change_parity(context, &a, &to, nullptr, window % 3, call);
    default:
      return kv_convert(context, &a, &to, nullptr, call);
  }
}

/// The C interface, on threads, against one thread of the scalar member.
void CompareInterface(std::uint64_t seed) {
  Random random(seed);
  while (!isOver) {
    kv_context_options options;
    kv_context_options_init(&options);
    options.threads = random.Between(1, 4);
    kv_context* context = nullptr;
    kv_context* scalar = nullptr;
    if (kv_context_new(&options, &context) != KV_OK) return Report(kv_last_error());
    options.threads = 1;
    options.member = "kv_algoC";
    if (kv_context_new(&options, &scalar) != KV_OK) return Report(kv_last_error());
    {
      const std::jthread stopper([context](const std::stop_token& end) {
        while (!end.stop_requested()) {
          std::this_thread::sleep_for(std::chrono::milliseconds(7));
          kv_stop(context);
        }
      });
      for (int call = 0; call < 100 && !isOver; ++call) {
        const int kind = random.Between(0, 5);
        const int width = random.Between(1, 700);
        const int height = random.Between(1, 400);
        const bool isGrey = kind == 2 || kind == 3;
        const int in = isGrey ? KV_FORMAT_GRAY8 : kind == 5 ? random.Between(1, 15) : KV_FORMAT_UYVY;
        const int out = kind == 5 ? random.Between(1, 15) : kind == 4 ? in : KV_FORMAT_GRAY8;
        const int window = random.Between(1, 9);
        Frame a(in, width, height);
        Frame b(in, width, height);
        Frame expected(out, width, height);
        Frame actual(out, width, height);
        a.Fill(random);
        b.Fill(random);
        if (random.OneIn(4)) allocationsLeft = random.Between(0, 30);
        const kv_status answer = CallOne(kind, window, context, a.view, b.view, actual.view, nullptr);
        const bool wasShort = allocationsLeft == 0;
        allocationsLeft = -1;
        ++interfaceCalls;
        const std::string what = "call " + std::to_string(kind) + ", " + std::to_string(in) + " to " +
                                 std::to_string(out) + ", " + std::to_string(width) + "x" +
                                 std::to_string(height) + ", window " + std::to_string(window);
        if (answer == KV_STOPPED) {
          ++stops;
          continue;
        }
        if (answer == KV_OUT_OF_MEMORY) {
          ++shortages;
          if (!wasShort) Report(what + ": out of memory that there was");
          continue;
        }
        if (CallOne(kind, window, scalar, a.view, b.view, expected.view, nullptr) != answer) {
          Report(what + ": status " + std::to_string(answer));
        } else if (answer == KV_OK && !actual.Equals(expected)) {
          Report(what + ": other bytes");
        }
      }
    }
    kv_context_free(context);
    kv_context_free(scalar);
  }
}

long ResidentKib() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
  }
  return 0;
}
long Handles() {
  return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

void* Allocate(std::size_t size) {
  if (allocationsLeft > 0 && --allocationsLeft == 0) throw std::bad_alloc();
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

// Of this program, its libraries and its members.
void* operator new(std::size_t size) {
  return Allocate(size);
}
void* operator new[](std::size_t size) {
  return Allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

int main(int count, char** arguments) {
  if (count < 2) {
    std::fprintf(stderr, "usage: soak SECONDS [SEED]\n");
    return 2;
  }
  const auto end = Clock::now() + std::chrono::seconds(std::atol(arguments[1]));
  const std::uint64_t seed = count > 2 ? std::strtoull(arguments[2], nullptr, 10) : 1;
  const fs::path programs = fs::read_symlink("/proc/self/exe").parent_path();
  std::string name = (fs::temp_directory_path() / "kv_soak_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) return 2;
  {
    std::vector<std::jthread> threads;
    for (std::uint64_t i = 0; i < 2; ++i) {
      threads.emplace_back(CompareMembers, seed * 16 + i, programs, fs::path(name));
      threads.emplace_back(CompareInterface, seed * 16 + 8 + i);
    }
    for (auto next = Clock::now(); Clock::now() < end;) {
      next = std::min(end, next + std::chrono::seconds(10));
      std::this_thread::sleep_until(next);
      std::printf(
          "members %ld reloads %ld interface %ld stopped %ld short %ld differences %ld kib %ld handles %ld\n",
          memberCalls.load(), reloads.load(), interfaceCalls.load(), stops.load(), shortages.load(),
          differences.load(), ResidentKib(), Handles());
      std::fflush(stdout);
    }
    isOver = true;
  }
  fs::remove_all(name);
  return differences == 0 ? 0 : 1;
}
