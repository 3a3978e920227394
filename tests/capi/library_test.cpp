// The library as a file: what it exports, what it needs, and life in processes that fork or unload it.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <regex>
#include <set>
#include <string>
#include <system_error>
#include <thread>

#include "tests/capi/guarded_frame.h"
#include "tests/support/exported_symbols.h"

#if !defined(_WIN32)
#include <dlfcn.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

extern "C" int kv_test_calls_from_c(void);

namespace kv_test {
namespace {

/// The functions that the header declares.
std::set<std::string> DeclaredFunctions() {
  std::ifstream file(KV_HEADER);
  const std::string header((std::istreambuf_iterator<char>(file)), {});
  const std::regex declaration(R"(KV_API [A-Za-z0-9_ *]*?(kv_\w+)\()");
  std::set<std::string> names;
  for (std::sregex_iterator i(header.begin(), header.end(), declaration), end; i != end; ++i)
    names.insert((*i)[1]);
  return names;
}

TEST(CLibrary, ExportsExactlyWhatTheHeaderDeclares) {
  const auto declared = DeclaredFunctions();
  EXPECT_GT(declared.size(), 30U);
  EXPECT_TRUE(declared.contains("kv_last_error"));
  EXPECT_EQ(ExportedSymbols(KV_C_FILE), declared);
}

TEST(CLibrary, IsCalledFromC) {
  EXPECT_EQ(kv_test_calls_from_c(), 0);
}

TEST(CLibrary, VersionsAreTheProjects) {
  EXPECT_EQ(kv_abi_version(), 1);
  EXPECT_STREQ(kv_version_string(), KV_VERSION);
}

TEST(CLibrary, HeaderIncludesStandardHeadersAlone) {
  std::ifstream file(KV_HEADER);
  std::set<std::string> included;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("#include")) included.insert(line);
  }
  EXPECT_EQ(included, (std::set<std::string>{"#include <stddef.h>", "#include <stdint.h>"}));
}

/// Filters a frame on the threads of a context.
kv_status Filter(kv_context* context) {
  GuardedFrame from(KV_FORMAT_GRAY8, 800, 600, Placement::EndOfPage);
  GuardedFrame to(KV_FORMAT_GRAY8, 800, 600, Placement::EndOfPage);
  return kv_box_filter(context, from.Get(), to.Get(), nullptr, 5, nullptr);
}

#if !defined(_WIN32)

/// What a child process answers.
template <class Work>
int InChild(Work work) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(20);
    _exit(work());
  }
  int state = 0;
  waitpid(child, &state, 0);
  return WIFEXITED(state) ? WEXITSTATUS(state) : 1000 + WTERMSIG(state);
}

TEST(CLibrary, WorksAfterAFork) {
  const Context context = MakeContext(4);
  ASSERT_EQ(Filter(context.get()), KV_OK);
  // The child has a copy of the context, but none of its threads.
  EXPECT_EQ(InChild([&] { return Filter(context.get()); }), 0);
  EXPECT_EQ(InChild([] { return Filter(MakeContext(3).get()); }), 0);
  EXPECT_EQ(Filter(context.get()), KV_OK);
}

TEST(CLibrary, ExitsWithALiveContext) {
  EXPECT_EQ(InChild([]() -> int {
              kv_context* kept = MakeContext(4).release();
              if (Filter(kept) != KV_OK) return 1;
              std::exit(7);
            }),
            7);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(CLibrary, WorksWhereNoThreadStarts) {
  EXPECT_EQ(
      InChild([]() -> int {
        GuardedFrame from(KV_FORMAT_GRAY8, 800, 600, Placement::EndOfPage);
        GuardedFrame to(KV_FORMAT_GRAY8, 800, 600, Placement::EndOfPage);
        GuardedFrame expected(KV_FORMAT_GRAY8, 800, 600, Placement::EndOfPage);
        std::mt19937 random(1);
        from.Fill(random);
        if (kv_box_filter(MakeContext().get(), from.Get(), expected.Get(), nullptr, 5, nullptr) != KV_OK)
          return 1;
        // A thread's stack is more memory than there is.
        constexpr std::size_t stack = std::size_t{1} << 30;
        pthread_attr_t attributes;
        if (pthread_attr_init(&attributes) != 0 || pthread_attr_setstacksize(&attributes, stack) != 0 ||
            pthread_setattr_default_np(&attributes) != 0)
          return 2;
        long pages = 0;
        std::ifstream("/proc/self/statm") >> pages;
        const auto used = static_cast<rlim_t>(pages * sysconf(_SC_PAGESIZE));
        const rlimit limit{used + stack / 4, RLIM_INFINITY};
        if (setrlimit(RLIMIT_AS, &limit) != 0) return 2;
        try {
          std::thread([] {}).join();
          return 3;
        } catch (const std::system_error&) {
        }
        const Context context = MakeContext(4);
        if (kv_box_filter(context.get(), from.Get(), to.Get(), nullptr, 5, nullptr) != KV_OK) return 4;
        return to.Equals(expected) ? 0 : 5;
      }),
      0);
}

TEST(CLibrary, IsUnloadedWithALivePool) {
  EXPECT_EQ(InChild([]() -> int {
              // A copy, as this program holds the library itself.
              const std::filesystem::path original = KV_C_FILE;
              const std::filesystem::path copy =
                  original.parent_path() / ("live_kv_c_" + std::to_string(getpid()) + ".so");
              std::filesystem::copy_file(original, copy);
              void* const module = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
              std::filesystem::remove(copy);
              if (module == nullptr) return 1;
              const auto newContext =
                  reinterpret_cast<decltype(&kv_context_new)>(dlsym(module, "kv_context_new"));
              const auto filter = reinterpret_cast<decltype(&kv_box_filter)>(dlsym(module, "kv_box_filter"));
              kv_context_options options;
              kv_context_options_init(&options);
              options.threads = 4;
              kv_context* context = nullptr;
              if (newContext(&options, &context) != KV_OK) return 2;
              GuardedFrame from(KV_FORMAT_GRAY8, 800, 600, Placement::EndOfPage);
              GuardedFrame to(KV_FORMAT_GRAY8, 800, 600, Placement::EndOfPage);
              if (filter(context, from.Get(), to.Get(), nullptr, 5, nullptr) != KV_OK) return 3;
              // Its threads spin in its code, then sleep there.
              dlclose(module);
              std::this_thread::sleep_for(std::chrono::milliseconds(20));
              return Filter(MakeContext(2).get()) == KV_OK ? 0 : 4;
            }),
            0);
}

TEST(CLibrary, TwoCopiesInOneProcess) {
  const std::filesystem::path original = KV_C_FILE;
  const std::filesystem::path copy =
      original.parent_path() / ("another_kv_c_" + std::to_string(getpid()) + ".so");
  std::filesystem::copy_file(original, copy);
  EXPECT_EQ(InChild([&]() -> int {
              for (int repeat = 0; repeat < 3; ++repeat) {
                void* module = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
                if (module == nullptr) return 1;
                using New = kv_status (*)(const kv_context_options*, kv_context**);
                using Free = void (*)(kv_context*);
                using Error = const char* (*)();
                const auto newContext = reinterpret_cast<New>(dlsym(module, "kv_context_new"));
                const auto freeContext = reinterpret_cast<Free>(dlsym(module, "kv_context_free"));
                const auto lastError = reinterpret_cast<Error>(dlsym(module, "kv_last_error"));
                if (newContext == kv_context_new) return 2;
                kv_context_options options;
                kv_context_options_init(&options);
                options.threads = 4;
                kv_context* context = nullptr;
                if (newContext(&options, &context) != KV_OK) return 3;
                // Texts of one copy are not the other's.
                newContext(nullptr, nullptr);
                if (std::string(lastError()) != "context is null") return 4;
                if (std::string(kv_last_error()) == "context is null") return 5;
                if (Filter(MakeContext(2).get()) != KV_OK) return 6;
                freeContext(context);
                dlclose(module);
              }
              return 0;
            }),
            0);
  std::filesystem::remove(copy);
}
#endif

#else

TEST(CLibrary, WorksOnThreads) {
  EXPECT_EQ(Filter(MakeContext(4).get()), KV_OK);
}

#endif

}  // namespace
}  // namespace kv_test
