#include "geometry/half_plane.h"

#include <algorithm>
#include <cmath>
#include <deque>
#include <tuple>
#include <utility>

namespace kv_math {
namespace {

/// A run of consecutive loop points inside the half plane, and the border points where the loop enters and
/// leaves it.
struct Chain {
  Vector2 entry;
  Vector2 exit;
  std::size_t first;  ///< index of the first inside point
  std::size_t count;  ///< number of inside points, starting at `first`; wraps at the loop's end
};

/// One end of a chain on the border.
struct ChainEnd {
  double along;  ///< the coordinate along the border
  std::size_t chain;
  bool isExit;
};

/// The point where the edge from `a` to `b` meets the border. The ends are on different sides, or one is on
/// the border.
Vector2 BorderPoint(const Vector2& a, const Vector2& b, const HalfPlane& side) {
  const std::size_t other = 1 - side.axis;
  // Always from the lesser end to the greater, so that the half planes on both sides of a border cut an edge
  // at the same point.
  const bool ascending = a[side.axis] < b[side.axis];
  const Vector2& low = ascending ? a : b;
  const Vector2& high = ascending ? b : a;
  Vector2 point = low;
  if (low[side.axis] == side.position) return low;
  if (high[side.axis] == side.position) return high;
  // Halved, the differences of finite doubles cannot overflow.
  const double part =
      (side.position * 0.5 - low[side.axis] * 0.5) / (high[side.axis] * 0.5 - low[side.axis] * 0.5);
  const double least = std::min(low[other], high[other]);
  const double greatest = std::max(low[other], high[other]);
  point[side.axis] = side.position;
  point[other] = std::clamp(std::lerp(low[other], high[other], part), least, greatest);
  return point;
}

/// The chains of `loop` in its order. At least one point must be inside and one outside or on the border.
std::vector<Chain> FindChains(const Loop& loop, const HalfPlane& side) {
  const std::size_t n = loop.size();
  std::size_t start = 0;
  while (side.Contains(loop[start]) || !side.Contains(loop[(start + 1) % n])) ++start;

  std::vector<Chain> chains;
  for (std::size_t step = 0; step < n; ++step) {
    const Vector2& from = loop[(start + step) % n];
    const std::size_t next = (start + step + 1) % n;
    const Vector2& to = loop[next];
    if (side.Contains(to)) {
      if (!side.Contains(from)) {
        const Vector2 entry = BorderPoint(from, to, side);
        chains.push_back({entry, entry, next, 0});
      }
      ++chains.back().count;
    } else if (side.Contains(from)) {
      chains.back().exit = BorderPoint(from, to, side);
    }
  }
  return chains;
}

/// The ends of all chains, sorted along the border.
std::vector<ChainEnd> SortedEnds(const std::vector<Chain>& chains, const HalfPlane& side) {
  const std::size_t other = 1 - side.axis;
  std::vector<ChainEnd> ends;
  ends.reserve(2 * chains.size());
  for (std::size_t i = 0; i < chains.size(); ++i) {
    ends.push_back({chains[i].entry[other], i, false});
    ends.push_back({chains[i].exit[other], i, true});
  }
  std::sort(ends.begin(), ends.end(), [](const ChainEnd& a, const ChainEnd& b) {
    return std::tie(a.along, a.chain, a.isExit) < std::tie(b.along, b.chain, b.isExit);
  });
  return ends;
}

/// The successor of every chain: each exit is joined along the border to an entry.
///
/// On a simple loop exits and entries alternate along the border, and neighbours belong together. If a vertex
/// is on the border, or so close that rounding decides, an exit and an entry may be swapped; joining the
/// oldest open end first still pairs both correctly.
std::vector<std::size_t> JoinChains(const std::vector<ChainEnd>& ends) {
  std::vector<std::size_t> successor(ends.size() / 2);
  std::deque<ChainEnd> open;
  for (const ChainEnd& end : ends) {
    if (open.empty() || open.front().isExit == end.isExit) {
      open.push_back(end);
      continue;
    }
    const ChainEnd& partner = open.front();
    if (end.isExit) {
      successor[end.chain] = partner.chain;
    } else {
      successor[partner.chain] = end.chain;
    }
    open.pop_front();
  }
  return successor;
}

}  // namespace

void AppendInside(Loop loop, const HalfPlane& side, std::vector<Loop>& kept) {
  if (std::none_of(loop.begin(), loop.end(), [&](const Vector2& p) { return side.Contains(p); })) return;
  if (std::none_of(loop.begin(), loop.end(), [&](const Vector2& p) { return side.Excludes(p); })) {
    kept.push_back(std::move(loop));
    return;
  }

  const std::vector<Chain> chains = FindChains(loop, side);
  const std::vector<std::size_t> successor = JoinChains(SortedEnds(chains, side));
  std::vector<bool> used(chains.size(), false);
  for (std::size_t head = 0; head < chains.size(); ++head) {
    if (used[head]) continue;
    Loop piece;
    for (std::size_t i = head; !used[i]; i = successor[i]) {
      used[i] = true;
      piece.push_back(chains[i].entry);
      for (std::size_t k = 0; k < chains[i].count; ++k) {
        piece.push_back(loop[(chains[i].first + k) % loop.size()]);
      }
      piece.push_back(chains[i].exit);
    }
    kept.push_back(std::move(piece));
  }
}

}  // namespace kv_math
