#include "host/clip_set.h"

#include <algorithm>

#include "host/errors.h"
#include "host/frames.h"
#include "host/progress.h"

namespace kv_host {
namespace {

[[noreturn]] void FailForLength(const PictureReader& shorter, std::int64_t count,
                                const PictureReader& longer) {
  throw UsageError(shorter.Name() + ": has " + std::to_string(count) +
                   " frames, fewer than the other input (" + longer.Name() +
                   "); give as many, or one for all, or end with --shortest");
}

}  // namespace

bool ClipSet::Clip::Has(std::int64_t number, Session& session) {
  while (number >= count && !hasEnded) {
    if (auto next = NextWhole(*ahead, session, current.has_value())) {
      current = std::move(next);
      ++count;
    } else {
      hasEnded = true;
    }
  }
  return number < count;
}

ClipSet::ClipSet(const std::vector<std::string>& names, const Options& options)
    : endsWithShortest_(options.endsWithShortest) {
  for (const std::string& name : names) {
    clips_.push_back({.reader = std::make_unique<PictureReader>(name, options.read)});
  }
  const auto lead = std::ranges::find_if(clips_, [](const Clip& clip) { return clip.reader->Length() != 1; });
  if (lead != clips_.end()) lead_ = static_cast<std::size_t>(lead - clips_.begin());
  for (std::size_t i = 0; i < clips_.size(); ++i) {
    if (i != lead_) clips_[i].reader->TakeAll();
  }
  clips_[lead_].count = clips_[lead_].reader->NextNumber();
  RequireLengths();
}

void ClipSet::RequireLengths() const {
  if (endsWithShortest_) return;
  const PictureReader& lead = *clips_[lead_].reader;
  const auto needed = ClipPart{lead.Range(), lead.Length()}.Count();
  if (!needed) return;
  for (const Clip& clip : clips_) {
    const auto length = clip.reader->Length();
    if (&clip == &clips_[lead_] || !length || *length == 1) continue;
    if (*length < lead.Range().first + *needed) FailForLength(*clip.reader, *length, lead);
    if (!lead.Range().count && *length > *needed) FailForLength(lead, *needed, *clip.reader);
  }
}

std::vector<const PictureReader*> ClipSet::Readers() const {
  std::vector<const PictureReader*> readers;
  for (const Clip& clip : clips_) readers.push_back(clip.reader.get());
  return readers;
}

ClipPart ClipSet::Part() const {
  const PictureReader& lead = *clips_[lead_].reader;
  ClipPart part{lead.Range(), lead.Length()};
  if (!endsWithShortest_ || !part.length) return part;
  for (const Clip& clip : clips_) {
    const auto length = clip.reader->Length();
    if (length && *length != 1) part.length = std::min(*part.length, *length);
  }
  return part;
}

void ClipSet::DescribePictures() {
  const Raster& lead = *clips_[lead_].current;
  for (Clip& clip : clips_) {
    if (clip.reader->Length() != 1) continue;
    Raster& picture = *clip.current;
    if (picture.frameRate == Ratio{}) picture.frameRate = lead.frameRate;
    if (picture.interlace == Interlace::Unknown) picture.interlace = lead.interlace;
  }
}

void ClipSet::ForEach(Session& session, const Work& work) {
  Progress progress("frames", Part().Count().value_or(0));
  const FrameRange range = clips_[lead_].reader->Range();
  for (Clip& clip : clips_) clip.ahead = std::make_unique<ReadAhead>(*clip.reader, session.threads);
  std::vector<const Raster*> frames(clips_.size());
  for (std::int64_t number = clips_[lead_].count;; ++number) {
    if (range.count && number - range.first == *range.count) return;
    Clip* going = nullptr;
    Clip* lacking = nullptr;
    for (Clip& clip : clips_) {
      if (clip.Has(number, session)) {
        going = &clip;
      } else if (!clip.IsPicture()) {
        lacking = &clip;
      }
    }
    if (session.failure || going == nullptr || (lacking != nullptr && endsWithShortest_)) return;
    if (lacking != nullptr) FailForLength(*lacking->reader, lacking->count, *going->reader);
    if (number == clips_[lead_].reader->Range().first) DescribePictures();
    for (std::size_t i = 0; i < clips_.size(); ++i) frames[i] = &*clips_[i].current;
    Recorded(session, number, [&] { work(frames, number); });
    progress.Advance();
  }
}

}  // namespace kv_host
