#include "host/commands/difference_table.h"

#include <cmath>
#include <cstdio>
#include <vector>

namespace kv_host {
namespace {

JsonText& AddNumbers(JsonText& object, const kv_run::DifferenceStats& stats) {
  object.Add("mean", stats.Mean()).Add("maximum", stats.maximum);
  return object.Add("psnr", stats.Psnr()).Add("share", stats.Share());
}

std::string RowOf(std::int64_t frame, const kv_run::DifferenceStats& stats) {
  char text[160];
  char psnr[40] = "inf";
  if (std::isfinite(stats.Psnr())) std::snprintf(psnr, sizeof psnr, "%.3f", stats.Psnr());
  std::snprintf(text, sizeof text, "%lld,%.4f,%d,%s,%.6f", static_cast<long long>(frame), stats.Mean(),
                stats.maximum, psnr, stats.Share());
  return text;
}

}  // namespace

kv_run::DifferenceStats StatsOf(const Raster& first, const Raster& second, const kv_img::RunRegion& where,
                                int threshold, const Engine& with) {
  std::vector<kv_run::DifferenceStats> parts(static_cast<std::size_t>(with.pool.ThreadCount()));
  const int rows = where.GetBottom() - where.GetTop() + 1;
  with.pool.Run([&](kv_std::SpinBarrier& barrier, std::uint32_t index) {
    const auto threads = static_cast<std::int64_t>(barrier.GetThreadCount());
    const auto end = where.GetTop() + static_cast<int>(rows * (std::int64_t{index} + 1) / threads);
    for (int y = where.GetTop() + static_cast<int>(rows * std::int64_t{index} / threads); y < end; ++y) {
      const int left = where.GetLeft(y);
      const int right = where.GetRight(y);
      if (right < left) continue;
      parts[index] +=
          kv_run::Measure(first.planes[0].Row(y).data() + 2 * left, second.planes[0].Row(y).data() + 2 * left,
                          static_cast<std::size_t>(right - left + 1), 2, threshold);
    }
  });
  kv_run::DifferenceStats all;
  for (const kv_run::DifferenceStats& part : parts) all += part;
  return all;
}

DifferenceTable::DifferenceTable(Session& session, bool isShown, std::optional<double> failAbove)
    : session_(session), isShown_(isShown && !session.json), failAbove_(failAbove) {}

void DifferenceTable::Add(std::int64_t frame, const kv_run::DifferenceStats& stats) {
  // The first row comes with the first frame: what cannot begin prints no table.
  if (isShown_ && frames_ == 0) session_.PrintLine("frame,mean,maximum,psnr,share");
  if (isShown_) session_.PrintLine(RowOf(frame, stats));
  if (session_.record) AddNumbers(*session_.record, stats);
  all_ += stats;
  ++frames_;
  if (!failAbove_ || !(stats.Mean() > *failAbove_)) return;
  if (failed_++ > 0) return;
  firstFailed_ = frame;
  firstMean_ = stats.Mean();
}

void DifferenceTable::Judge(const std::string& name) {
  if (frames_ == 0) return;
  session_.result = JsonText::Object();
  AddNumbers(session_.result->Add("frames", frames_), all_).Add("failed", failed_);
  session_.PrepareReport();
  if (failed_ == 0) return;
  char text[200];
  std::snprintf(text, sizeof text,
                ": %lld of %lld frames differ by a mean above %g; the first is frame %lld, by %.4f",
                static_cast<long long>(failed_), static_cast<long long>(frames_), *failAbove_,
                static_cast<long long>(firstFailed_), firstMean_);
  session_.failure = {NothingFound, "different", name + text};
}

}  // namespace kv_host
