// Stops of the two operations that wait, at any moment and from anyone: every thread comes back, those that
// wait with the stop's exception, and nothing leaks.
#include <gtest/gtest.h>

#include <atomic>

#include "frame/interfaces/alpha_layer_color_based.h"
#include "frame/interfaces/alpha_layer_prob_mask.h"
#include "image/errors/exceptions.h"
#include "image/run_region.h"
#include "run/worker_pool.h"
#include "tests/stops/load.h"
#include "tests/support/member.h"
#include "tests/support/test_image.h"
#include "tests/support/threads.h"

namespace {

using namespace kv_test;
using kv_img::AlgoMMXException;
using kv_std::SpinBarrier;
using kv_std::SpinBarrierException;

constexpr int width = 32;
constexpr int height = 6;

/// A member's share of `all` rounds: the operations are the same templates in each, and threads that spin are
/// slow on few processors.
int RoundsOf(int all) {
  return all / roundsDivisor / static_cast<int>(Members().size());
}

/// Either layer, one thread's part of it, with a window that may be refused.
class LayerStop : public testing::TestWithParam<int> {
 protected:
  using ColorLayer = kv_img::AlphaLayerColorBasedAlgorithmInterface<Yuv422>;
  using ProbLayer = kv_img::AlphaLayerProbMaskAlgorithmInterface<Grey8>;

  void Apply(bool isColor, SpinBarrier& barrier, std::uint32_t index, std::uint32_t window = 3,
             std::shared_ptr<Grey8> rawMask = nullptr) {
    if (rawMask == nullptr) rawMask = rawMask_;
    if (isColor) {
      color_->Apply(first_, second_, mask_, region_, window, rawMask, barrier, index);
    } else {
      prob_->Apply(p_, q_, mask_, region_, window, rawMask, barrier, index);
    }
  }
  void TearDown() override { EXPECT_EQ(rawMask_.use_count(), 1) << "a thread kept the intermediate"; }

  const Member& member_ = Members()[static_cast<std::size_t>(GetParam())];
  const ColorLayer* color_ = member_.Get<ColorLayer>("AlphaLayerColorBased", {kv_img::PixelYUV422::ClassID});
  const ProbLayer* prob_ =
      member_.Get<ProbLayer>("AlphaLayerProbMask", {kv_img::PixelNoColor<unsigned char>::ClassID});
  kv_img::RunRegion region_{kv_img::ImageRect(0, 0, width - 1, height - 1)};
  Yuv422 first_{width, height};
  Yuv422 second_{width, height};
  Grey8 p_{width, height};
  Grey8 q_{width, height};
  Grey8 mask_{width, height};
  std::shared_ptr<Grey8> rawMask_ = std::make_shared<Grey8>(width, height);
};

/// The code that a thread threw; 0: it came through. Anything but a stop is a failure.
std::uint32_t CodeOf(const std::exception_ptr& thrown) {
  if (!thrown) return 0;
  try {
    std::rethrow_exception(thrown);
  } catch (const SpinBarrierException& error) {
    return error.Code();
  } catch (...) {
    ADD_FAILURE() << "another exception than a stop's";
    return 1;
  }
}

TEST_P(LayerStop, BeforeTheCallEveryThreadIsStopped) {
  for (int round = 0; round < RoundsOf(400); ++round) {
    const int threads = 1 + round % 4;
    for (const auto& thrown : CallOnThreads(threads, [&](SpinBarrier&barrier, std::uint32_t index) {
           barrier.RequestStop();
           Apply(round % 8 < 4, barrier, index);
         })) {
      ASSERT_EQ(CodeOf(thrown), 12603U);
    }
  }
}

TEST_P(LayerStop, FromOutsideAtAnyMomentAllComeBack) {
  int stopped = 0;
  int finished = 0;
  for (int round = 0; round < RoundsOf(1200); ++round) {
    const int threads = 2 + round % 3;
    std::atomic<int> begun = 0;
    SpinBarrier barrier(threads);
    std::vector<std::exception_ptr> thrown(static_cast<std::size_t>(threads));
    std::vector<std::thread> workers;
    for (int index = 0; index < threads; ++index) {
      workers.emplace_back([&, index] {
        ++begun;
        try {
          Apply(round % 2 == 0, barrier, static_cast<std::uint32_t>(index));
        } catch (...) {
          thrown[static_cast<std::size_t>(index)] = std::current_exception();
        }
      });
    }
    // Anywhere from before the first thread to after the last one.
    while (begun < round % (threads + 1)) std::this_thread::yield();
    for (int i = 0; i < round % 97; ++i) std::atomic_signal_fence(std::memory_order_seq_cst);
    barrier.RequestStop();
    for (std::thread& worker : workers) worker.join();
    for (const auto& one : thrown) {
      const std::uint32_t code = CodeOf(one);
      ASSERT_TRUE(code == 0 || code == 12603) << code;
      ++(code == 0 ? finished : stopped);
    }
  }
  EXPECT_GT(stopped, 10 / roundsDivisor) << "hardly any stop came in time";
  RecordProperty("stopped", stopped);
  RecordProperty("finished", finished);
}

TEST_P(LayerStop, FromAWorkerInsteadOfItsPartTheOthersAreStopped) {
  for (int round = 0; round < RoundsOf(600); ++round) {
    const int threads = 2 + round % 3;
    const auto quitter = static_cast<std::uint32_t>(round % threads);
    const auto thrown = CallOnThreads(threads, [&](SpinBarrier& barrier, std::uint32_t index) {
      if (index == quitter) return barrier.RequestStop();
      Apply(round % 2 == 0, barrier, index);
    });
    for (std::uint32_t index = 0; index < thrown.size(); ++index) {
      ASSERT_EQ(CodeOf(thrown[index]), index == quitter ? 0U : 12603U);
    }
  }
}

TEST_P(LayerStop, FromAWorkerBehindItsPartAllComeBack) {
  for (int round = 0; round < RoundsOf(300); ++round) {
    for (const auto& thrown : CallOnThreads(3, [&](SpinBarrier&barrier, std::uint32_t index) {
           Apply(round % 2 == 0, barrier, index);
           barrier.RequestStop();
         })) {
      const std::uint32_t code = CodeOf(thrown);
      ASSERT_TRUE(code == 0 || code == 12603) << code;
    }
  }
}

TEST_P(LayerStop, OfManyThreadsAllComeBack) {
  constexpr std::uint32_t last = mostThreads - 1;
  for (int round = 0; round < 4; ++round) {
    const auto thrown = CallOnThreads(mostThreads, [&](SpinBarrier& barrier, std::uint32_t index) {
      if (index == last) return barrier.RequestStop();
      Apply(round % 2 == 0, barrier, index);
    });
    for (std::uint32_t index = 0; index < last; ++index) ASSERT_EQ(CodeOf(thrown[index]), 12603U);
  }
}

/// Runs a layer on a host's pool; thread `failing` gets `window` and `rawMask`, which are refused with
/// `code`.
template <class Fixture>
void ExpectTheRefusalOfOneThread(Fixture apply, std::uint32_t code) {
  for (int round = 0; round < RoundsOf(300); ++round) {
    const auto failing = static_cast<std::uint32_t>(round % 3);
    try {
      kv_run::WorkerPool(3).Run([&](SpinBarrier& barrier, std::uint32_t index) {
        apply(round % 2 == 0, barrier, index, index == failing);
      });
      FAIL() << "nothing was thrown";
    } catch (const AlgoMMXException& error) {
      ASSERT_EQ(error.Code(), code);
    }
  }
}

TEST_P(LayerStop, OfThePoolWhenTheFilterThrowsInOneThread) {
  ExpectTheRefusalOfOneThread([&](bool isColor, SpinBarrier& barrier, std::uint32_t index,
                                  bool fails) { Apply(isColor, barrier, index, fails ? 256U : 3U); },
                              4);
}

TEST_P(LayerStop, OfThePoolWhenOneThreadNeverReachesTheBarrier) {
  const auto tooSmall = std::make_shared<Grey8>(width, height - 1);
  ExpectTheRefusalOfOneThread(
      [&](bool isColor, SpinBarrier& barrier, std::uint32_t index, bool fails) {
        Apply(isColor, barrier, index, 3, fails ? tooSmall : nullptr);
      },
      1);
  EXPECT_EQ(tooSmall.use_count(), 1);
}

INSTANTIATE_TEST_SUITE_P(Members, LayerStop, EachMember(), MemberName);

}  // namespace
