#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/scene.h"
#include "frame/spin_barrier.h"

namespace kv_bench {

/// A thread's part of a call.
using Part = std::function<void(Scene&, kv_std::SpinBarrier&, std::uint32_t threadIndex)>;

/// One way to do an operation.
struct Contender {
  std::string name;
  Part run;
};

/// An operation and all that can do it.
struct Operation {
  std::string name;
  /// Bytes read and written per pixel; 0 where time is not a matter of bytes.
  double bytesPerPixel = 0;
  /// Pixel differences that a call adds up; 0 for all but searches.
  double differences = 0;
  std::vector<Contender> contenders = {};
};

/// The operations in the order of the report.
class Contest {
 public:
  Operation& Add(std::string name, double bytesPerPixel, double differences = 0);
  /// Adds a contender to an operation that was added before; nothing when it was not.
  void Enter(const std::string& operation, std::string contender, Part run);
  /// A contender that always works on one thread.
  void Enter(const std::string& operation, std::string contender, std::function<void(Scene&)> run);

  std::vector<Operation>& Operations() { return operations_; }

 private:
  std::vector<Operation> operations_;
};

/// A member, at whatever level, or memcpy: what is no peer.
bool IsOurs(const Contender& contender);
/// The wide member at the level that the processor takes: the first of an operation's.
const Contender& Best(const Operation& operation);

/// The members, at every level that the processor has.
void EnterMembers(Contest& contest);
/// All of those below.
void EnterPeers(Contest& contest);
// What a user would take instead, where it was installed when this was built.
void EnterLibyuv(Contest& contest);
void EnterSwscale(Contest& contest);
void EnterOpenCv(Contest& contest);
void EnterOrc(Contest& contest);
void EnterVpx(Contest& contest);
void EnterZimg(Contest& contest);

/// Seconds per call of a contender.
struct Timing {
  std::string contender;
  double seconds;  ///< the median
  double spread;   ///< from the first quartile to the third, as a share of the median
};

/// Times all contenders of an operation in turn, `rounds` times, on `scenes`, one after the other: all stay
/// in cache when there is one of them, none when there are many.
std::vector<Timing> Time(const Operation& operation, std::vector<std::unique_ptr<Scene>>& scenes, int rounds);

/// Median seconds per call of one contender on `threads` threads of a host, the starting of them included.
double TimeOnThreads(const Contender& contender, Scene& scene, int threads, int rounds);

}  // namespace kv_bench
