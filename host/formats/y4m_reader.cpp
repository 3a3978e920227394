#include <algorithm>
#include <charconv>
#include <string>

#include "host/formats/format_error.h"
#include "host/formats/y4m.h"

namespace kv_host {
namespace {

constexpr std::string_view Magic = "YUV4MPEG2";
constexpr std::size_t LongestLine = 4096;

/// A header line in tags: first letter and value, with its place for messages.
class Tags {
 public:
  Tags(const ByteSource& source, std::uint64_t offset, std::string_view line)
      : source_(source), offset_(offset), rest_(line) {}

  /// Goes to the next tag; false after the last.
  bool Next() {
    const std::size_t start = std::min(rest_.find_first_not_of(' '), rest_.size());
    offset_ += length_ + start;
    rest_.remove_prefix(start);
    length_ = std::min(rest_.find(' '), rest_.size());
    tag_ = rest_.substr(0, length_);
    rest_.remove_prefix(length_);
    return !tag_.empty();
  }
  char Letter() const { return tag_.front(); }
  std::string_view Value() const { return tag_.substr(1); }

  [[noreturn]] void Fail(const std::string& problem) const {
    throw FormatError(source_.Name(), offset_, Quoted(tag_) + " " + problem);
  }

 private:
  const ByteSource& source_;
  std::uint64_t offset_;
  std::string_view rest_;
  std::string_view tag_;
  std::size_t length_ = 0;
};

/// A number from the front of `text`, which it shortens; -1 if there is none that fits an int.
int TakeNumber(std::string_view& text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || value < 0) return -1;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return value;
}

int Side(const Tags& tags) {
  std::string_view text = tags.Value();
  const int value = TakeNumber(text);
  if (value < 1 || !text.empty()) tags.Fail("is not a size; W and H are whole numbers from 1");
  return value;
}

Ratio RatioOf(const Tags& tags) {
  std::string_view text = tags.Value();
  Ratio ratio;
  ratio.numerator = TakeNumber(text);
  const bool colon = text.starts_with(':');
  text.remove_prefix(colon ? 1 : 0);
  ratio.denominator = TakeNumber(text);
  if (ratio.numerator < 0 || ratio.denominator < 0 || !colon || !text.empty()) {
    tags.Fail("is not a ratio of two whole numbers such as 25:1");
  }
  return ratio;
}

struct ColourSpace {
  std::string_view name;
  ChromaPlanes chroma;
  ChromaSite site;  ///< In 4:4:4, of the chroma that it becomes.
  bool isTenBit = false;
};

constexpr ColourSpace ColourSpaces[] = {
    {"420", ChromaPlanes::Half, ChromaSite::Centre},
    {"420jpeg", ChromaPlanes::Half, ChromaSite::Centre},
    {"420mpeg2", ChromaPlanes::Half, ChromaSite::Left},
    {"420paldv", ChromaPlanes::Half, ChromaSite::Left},
    {"422", ChromaPlanes::Pair, ChromaSite::Unknown},
    {"422jpeg", ChromaPlanes::Pair, ChromaSite::Centre},
    {"422mpeg2", ChromaPlanes::Pair, ChromaSite::Left},
    {"422paldv", ChromaPlanes::Pair, ChromaSite::Unknown},
    {"444", ChromaPlanes::Full, ChromaSite::Left},
    {"mono", ChromaPlanes::None, ChromaSite::Unknown},
    {"420p10", ChromaPlanes::Half, ChromaSite::Left, true},
    {"422p10", ChromaPlanes::Pair, ChromaSite::Unknown, true},
    {"444p10", ChromaPlanes::Full, ChromaSite::Left, true},
    {"mono10", ChromaPlanes::None, ChromaSite::Unknown, true},
};

const ColourSpace& ColourSpaceOf(const Tags& tags) {
  for (const ColourSpace& space : ColourSpaces) {
    if (space.name == tags.Value()) return space;
  }
  tags.Fail(
      "is not read; 4:2:0, 4:2:2, 4:4:4 and mono with 8 or 10 bits are; convert with the ffmpeg option "
      "-pix_fmt yuv422p");
}

void SetColourSpace(const ColourSpace& space, Y4mHeader& header) {
  header.storage = {.chroma = space.chroma, .isTenBit = space.isTenBit};
  header.chroma = space.site;
}

void SetInterlace(const Tags& tags, Y4mHeader& header) {
  const std::string_view value = tags.Value();
  if (value == "p") {
    header.interlace = Interlace::Progressive;
  } else if (value == "t") {
    header.interlace = Interlace::TopFieldFirst;
  } else if (value == "b") {
    header.interlace = Interlace::BottomFieldFirst;
  } else if (value == "m") {
    header.mixedInterlace = true;
  } else if (value != "?") {
    tags.Fail("is not an interlace tag; Ip, It, Ib, Im and I? are");
  }
}

/// One line without its end. Throws FormatError if the file ends first or the line does not end.
std::string ReadLine(ByteSource& source, const char* what) {
  std::string line;
  for (int c = source.Get(); c != '\n'; c = source.Get()) {
    if (c < 0) {
      throw TruncatedError(source.Name(), source.Offset(),
                           std::string("the file ends inside ") + what + ", which a line end would close");
    }
    if (line.size() == LongestLine) {
      source.Fail(std::string(what) + " is longer than " + std::to_string(LongestLine) + " bytes");
    }
    line += static_cast<char>(c);
  }
  return line;
}

Y4mHeader ParseHeader(const ByteSource& source, std::uint64_t offset, std::string_view line) {
  Y4mHeader header;
  // Where no tag names another.
  SetColourSpace(ColourSpaces[0], header);
  Tags tags(source, offset, line);
  std::string seen;
  while (tags.Next()) {
    const char letter = tags.Letter();
    // Extensions and tags of others may come again; of what states the picture one of the two would be wrong.
    if (seen.find(letter) != std::string::npos &&
        std::string_view("WHFAIC").find(letter) != std::string::npos) {
      tags.Fail("is stated a second time; a header has each of W, H, F, A, I and C once");
    }
    seen += letter;
    switch (letter) {
      case 'W':
        header.width = Side(tags);
        break;
      case 'H':
        header.height = Side(tags);
        break;
      case 'F':
        header.frameRate = RatioOf(tags);
        break;
      case 'A':
        header.pixelAspect = RatioOf(tags);
        break;
      case 'I':
        SetInterlace(tags, header);
        break;
      case 'C':
        SetColourSpace(ColourSpaceOf(tags), header);
        break;
      case 'X':
        if (tags.Value() == "COLORRANGE=FULL") header.range = ColourRange::Full;
        if (tags.Value() == "COLORRANGE=LIMITED") header.range = ColourRange::Limited;
        break;
      default:
        break;
    }
  }
  if (header.width == 0 || header.height == 0) {
    throw FormatError(source.Name(), offset,
                      "the Y4M header lacks its size; it needs W and H, as in W720 H576");
  }
  const std::string problem = SizeProblem(header.width, header.height);
  if (!problem.empty()) throw FormatError(source.Name(), offset, problem);
  const bool hasFields =
      header.interlace == Interlace::TopFieldFirst || header.interlace == Interlace::BottomFieldFirst;
  if (hasFields && header.storage.chroma == ChromaPlanes::Half && header.height % 2 != 0) {
    throw FormatError(source.Name(), offset,
                      "interlaced 4:2:0 has an even number of rows, not " + std::to_string(header.height) +
                          "; convert with the ffmpeg option -pix_fmt yuv422p");
  }
  return header;
}

}  // namespace

Y4mReader::Y4mReader(ByteSource& source, Dither dither) : source_(source), planes_({}, dither) {
  const auto start = source.Peek(Magic.size());
  if (!std::equal(start.begin(), start.end(), Magic.begin(), Magic.end())) {
    source.Fail("not a Y4M file: it does not begin with YUV4MPEG2");
  }
  source.Skip(Magic.size(), "the Y4M header");
  const std::uint64_t offset = source.Offset();
  const std::string line = ReadLine(source, "the Y4M header");
  if (!line.starts_with(' ')) {
    throw FormatError(source.Name(), offset, "a space must follow YUV4MPEG2");
  }
  header_ = ParseHeader(source, offset, line);
  planes_ = SamplePlanes(header_.storage, dither);
  length_ = CountFrames();
}

std::optional<std::int64_t> Y4mReader::CountFrames() {
  constexpr std::size_t LongestLine = 80;
  const auto remaining = source_.Remaining();
  if (!remaining) return std::nullopt;
  const auto start = source_.Peek(LongestLine);
  const auto end = std::find(start.begin(), start.end(), '\n');
  if (end == start.end()) return std::nullopt;
  const std::uint64_t size =
      static_cast<std::uint64_t>(end - start.begin()) + 1 + planes_.ByteCount(header_.width, header_.height);
  if (*remaining % size != 0) return std::nullopt;
  return static_cast<std::int64_t>(*remaining / size);
}

void Y4mReader::ReadFrameLine(Interlace& interlace) {
  constexpr std::string_view Word = "FRAME";
  const std::string what = "the header of frame " + std::to_string(frame_);
  const std::uint64_t start = source_.Offset();
  for (const char expected : Word) {
    const int c = source_.Get();
    if (c < 0) throw TruncatedError(source_.Name(), source_.Offset(), "the file ends inside " + what);
    if (c != expected) throw FormatError(source_.Name(), start, what + " is not there: FRAME was expected");
  }
  const std::uint64_t offset = source_.Offset();
  const std::string line = ReadLine(source_, what.c_str());
  if (!line.empty() && line.front() != ' ') {
    throw FormatError(source_.Name(), start, what + " is not there: FRAME was expected");
  }
  Tags tags(source_, offset, line);
  while (header_.mixedInterlace && tags.Next()) {
    if (tags.Letter() != 'I' || tags.Value().empty()) continue;
    switch (tags.Value().front()) {
      case 't':
      case 'T':
        interlace = Interlace::TopFieldFirst;
        break;
      case 'b':
      case 'B':
        interlace = Interlace::BottomFieldFirst;
        break;
      case '1':
      case '2':
      case '3':
        interlace = Interlace::Progressive;
        break;
      default:
        break;
    }
  }
}

std::optional<Raster> Y4mReader::Next() {
  if (source_.AtEnd()) return std::nullopt;
  ++frame_;
  Raster frame = MakeEmptyRaster(planes_.Kind(), header_.width, header_.height);
  frame.interlace = header_.interlace;
  if (frame.kind != RasterKind::Grey8) frame.range = header_.range;
  frame.chroma = header_.chroma;
  frame.frameRate = header_.frameRate;
  frame.pixelAspect = header_.pixelAspect;
  ReadFrameLine(frame.interlace);
  planes_.Read(source_, frame, "frame " + std::to_string(frame_));
  return frame;
}

}  // namespace kv_host
