#include "host/commands/command.h"

#include <algorithm>
#include <charconv>
#include <map>

#include "host/errors.h"
#include "host/formats/format_error.h"
#include "host/progress.h"

namespace kv_host {

void AddReportOption(CLI::App& command, Session& session) {
  command.add_flag(
      "--json", session.json,
      "report as JSON; --json=lines prints a line for each frame as it is done, then the report");
}

void EngineOptions::AddTo(CLI::App& command, Session& of, const std::string& rangeOption) {
  command.add_option("--threads", of.threads, "threads to work on (default: what the machine runs at once)")
      ->check(CLI::Range(1, 1024))
      ->type_name("N");
  AddWithoutThreadsTo(command, of);
  AddColoursTo(command, rangeOption);
}

void EngineOptions::AddWithoutThreadsTo(CLI::App& command, Session& of) {
  session = &of;
  command
      .add_option("--member", member, "family member to use, such as kv_algoMMX (default: the best that can)")
      ->type_name("NAME");
  AddReportOption(command, of);
  command.add_flag_callback("--quiet", Progress::Hide, "show no progress on a terminal");
}

void EngineOptions::AddColoursTo(CLI::App& command, const std::string& rangeOption) {
  CLI::Option* const exactCopy =
      command.add_flag("--exact-copy", colours.exactCopy,
                       "convert by \"Copy\": the matrix of standard definition, limited range, its rounding");
  const auto add = [&](const std::string& name, auto& value, auto names, const std::string& what) {
    command
        .add_option_function<std::string>(
            name, [&value, names](const std::string& given) { value = names.at(given); }, what)
        ->check(CLI::IsMember(names))
        ->type_name("NAME")
        ->excludes(exactCopy);
  };
  using Matrices = std::map<std::string, ColourMatrix>;
  using Ranges = std::map<std::string, ColourRange>;
  using Sites = std::map<std::string, ChromaSite>;
  using Resamplings = std::map<std::string, Resampling>;
  add("--matrix", colours.matrix,
      Matrices{{"601", ColourMatrix::Bt601}, {"709", ColourMatrix::Bt709}, {"2020", ColourMatrix::Bt2020}},
      "matrix of 4:2:2 beside RGB: 601, 709 or 2020 (default: 601 up to 576 rows, 709 above)");
  add(rangeOption, colours.range, Ranges{{"limited", ColourRange::Limited}, {"full", ColourRange::Full}},
      "range of 4:2:2: limited or full (default: as the file says, else limited)");
  add("--chroma", colours.chroma, Sites{{"left", ChromaSite::Left}, {"centre", ChromaSite::Centre}},
      "where a pair's chroma is: left or centre (default: as the file says, else left)");
  add("--resample", colours.resample,
      Resamplings{{"nearest", Resampling::Nearest}, {"linear", Resampling::Linear}},
      "how chroma gets to the pixels: linear or nearest (default: linear)");
  command.add_flag("--verbose", session->verbose,
                   "say on standard error how colours were converted, and why");
}

void OwnedEngine::RequireUseOfColours() const {
  const Session& session = *options_.session;
  if (!options_.colours.AreGiven() || !session.log.Crossings().empty()) return;
  throw UsageError(
      "the options of matrix, range, chroma and resampling are for conversions between 4:2:2 and RGB or "
      "grey; "
      "there was none");
}

void OwnedEngine::Finish(PictureWriter& writer) const {
  RequireUseOfColours();
  // What may fail for want of memory comes before the files take their names: a failure leaves none.
  writer.NameFiles();
  Session& session = *options_.session;
  session.NoteLosses();
  const std::size_t before = session.files.size();
  session.files.insert(session.files.end(), writer.Names().begin(), writer.Names().end());
  session.PrepareReport();
  try {
    writer.Commit();
  } catch (...) {
    session.files.resize(before + writer.CommittedFiles());
    throw;
  }
}

void RegionOptions::AddTo(CLI::App& command, const std::string& option, const std::string& what) {
  text.option = option;
  text.maskOption = option + "-mask";
  command.add_option(text.option, text.rect, what + " as a rectangle x,y,w,h (default: the whole picture)")
      ->type_name("RECT");
  command
      .add_option(text.maskOption, text.mask,
                  what + " as a grey picture, one run of non-zero pixels in each row")
      ->type_name("FILE");
}

void InputOptions::AddTo(CLI::App& command, Session& of, const std::string& option) {
  session = &of;
  sizeOption = option;
  command.add_option(option, size, "width and height of raw frames, such as 720x576")->type_name("WxH");
  command
      .add_option("--from-format", format, "format of the input: " + FormatNames() + " (default: by content)")
      ->type_name("FORMAT");
  const std::map<std::string, Interlace> orders = {{"top", Interlace::TopFieldFirst},
                                                   {"bottom", Interlace::BottomFieldFirst},
                                                   {"progressive", Interlace::Progressive}};
  command
      .add_option_function<std::string>(
          "--fields", [this, orders](const std::string& given) { fields = orders.at(given); },
          "which field of raw frames is first: top or bottom, or progressive for frames without fields "
          "(default: not "
          "known)")
      ->check(CLI::IsMember(orders))
      ->type_name("ORDER");
  const std::map<std::string, Dither> dithers = {{"none", Dither::None}, {"ordered", Dither::Ordered}};
  command
      .add_option_function<std::string>(
          "--dither", [this, dithers](const std::string& given) { dither = dithers.at(given); },
          "how 9 to 16 bits become 8: none, the nearest, or ordered (default: none)")
      ->check(CLI::IsMember(dithers))
      ->type_name("NAME");
  AddAvTo(command);
}

void InputOptions::AddAvTo(CLI::App& command) {
  command.add_option("--stream", av.stream, "stream of a container, from 0 (default: its main video)")
      ->check(CLI::NonNegativeNumber)
      ->type_name("N");
  command
      .add_option("--rate", rate,
                  "frames a second of a container, such as 25 or 30000:1001 (default: its own)")
      ->type_name("RATE");
  command
      .add_option_function<std::string>(
          "--on-error", [this](const std::string& given) { av.skipDamaged = given == "skip"; },
          "after a damaged frame: stop, with the frames before it, or skip it (default: stop)")
      ->check(CLI::IsMember({"stop", "skip"}))
      ->type_name("NAME");
  command
      .add_option_function<int>(
          "--max-memory", [this](int given) { av.maxMemory = std::int64_t{given} << 20U; },
          "memory of the decoder in MiB (default: a quarter of the machine's)")
      ->check(CLI::Range(16, 1 << 20))
      ->type_name("MIB");
}

void InputOptions::AddWithFramesTo(CLI::App& command, Session& of) {
  AddTo(command, of);
  command.add_option("--frames", frames, "work on COUNT frames from FIRST on, counted from 0 (default: all)")
      ->type_name("FIRST:COUNT");
}

void InputOptions::AddClipsTo(CLI::App& command, Session& of) {
  AddWithFramesTo(command, of);
  command.add_flag("--shortest", endsWithShortest,
                   "end with the shortest clip (default: clips of different lengths are refused)");
}

void InputOptions::RequireUse(const std::vector<const PictureReader*>& inputs) const {
  const auto isRaw = [](const PictureReader* input) { return TraitsOf(input->Format()).raw; };
  const auto isStandard = [](const PictureReader* input) { return input->Name() == "standard input"; };
  if (std::ranges::count_if(inputs, isStandard) > 1) {
    throw UsageError("standard input can be one input only; name others, such as /dev/fd/3");
  }
  if (std::ranges::any_of(inputs, isRaw)) return;
  const std::string rest = inputs.front()->Name() + " states its own ";
  const std::string only = "; only raw frames (" + RawFormatNames() + ") need it";
  if (!size.empty()) throw UsageError(sizeOption + ": " + rest + "size" + only);
  if (fields) throw UsageError("--fields: " + rest + "fields, or has none" + only);
}

CLI::Option* OutputOptions::AddTo(CLI::App& command, Session& of, const std::string& what,
                                  const std::string& option) {
  // Before anything can fail: the report must not go between the pictures.
  CLI::Option* const file = command.add_option(option, name, what)->required();
  file->each([&of](const std::string& given) { of.picturesOnStandardOutput = given == "-"; });
  AddFormatsTo(command, of);
  return file;
}

void OutputOptions::AddFormatsTo(CLI::App& command, Session& of) {
  session = &of;
  command.add_flag("--overwrite", overwrite,
                   "replace numbered files that exist (a single file is replaced anyway)");
  command
      .add_option("--to-format", format,
                  "format of the output: " + WritableFormatNames() + " (default: by its extension)")
      ->type_name("FORMAT");
  command
      .add_option(
          "--codec", codec,
          "codec of an mkv, mov, mp4, mxf or avi file: ffv1, raw, v210, prores, mpeg2, h264, h264-422 "
          "(default: that of the format, in docs/files.md)")
      ->type_name("NAME");
}

PictureWriter OutputOptions::Open(const ClipPart& clip) const {
  WriteOptions options{
      .clip = clip, .overwrite = overwrite, .codec = codec, .threads = session->threads, .log = &session->av};
  if (!format.empty()) options.format = ParseFormat(format, "--to-format");
  PictureWriter writer(name, options);
  const auto variable = std::ranges::find(session->av.notes, true, &AvNote::hasVariableRate);
  if (writer.Format() == FileFormat::Y4m && variable != session->av.notes.end()) {
    throw UsageError("frames of " + variable->file +
                     " come at a variable rate, which a Y4M file does not hold; give one, as in --rate 25");
  }
  return writer;
}

ReadOptions InputOptions::Get() const {
  ReadOptions options;
  options.av = av;
  options.av.threads = session->threads;
  options.av.log = &session->av;
  options.av.dither = dither;
  if (!rate.empty()) options.av.rate = ParseRate(rate);
  if (!frames.empty()) options.frames = ParseFrameRange(frames, "--frames");
  if (!size.empty()) {
    const Size parsed = ParseSize(size, sizeOption);
    options.width = parsed.width;
    options.height = parsed.height;
  }
  if (!format.empty()) options.format = ParseFormat(format, "--from-format");
  options.fields = fields.value_or(Interlace::Unknown);
  options.dither = dither;
  return options;
}

Ratio ParseRate(const std::string& text) {
  Ratio rate{.numerator = 0, .denominator = 1};
  const char* end = text.data() + text.size();
  auto parsed = std::from_chars(text.data(), end, rate.numerator);
  if (parsed.ec == std::errc{} && parsed.ptr != end && *parsed.ptr == ':')
    parsed = std::from_chars(parsed.ptr + 1, end, rate.denominator);
  if (parsed.ec == std::errc{} && parsed.ptr == end && rate.numerator > 0 && rate.denominator > 0)
    return rate;
  throw UsageError("--rate: " + Quoted(text) +
                   " is no rate; write frames a second, such as 25 or 30000:1001");
}

Size ParseSize(const std::string& text, const std::string& option) {
  Size size{};
  const char* end = text.data() + text.size();
  const auto width = std::from_chars(text.data(), end, size.width);
  if (width.ec == std::errc{} && width.ptr != end && *width.ptr == 'x') {
    const auto height = std::from_chars(width.ptr + 1, end, size.height);
    if (height.ec == std::errc{} && height.ptr == end && size.width > 0 && size.height > 0) return size;
  }
  throw UsageError(option + ": " + Quoted(text) +
                   " is no size; write width and height in pixels, such as 720x576");
}

FrameRange ParseFrameRange(const std::string& text, const std::string& option) {
  FrameRange range;
  std::int64_t count = 0;
  const char* end = text.data() + text.size();
  const auto first = std::from_chars(text.data(), end, range.first);
  if (first.ec == std::errc{} && first.ptr != end && *first.ptr == ':') {
    const auto second = std::from_chars(first.ptr + 1, end, count);
    range.count = count;
    if (second.ec == std::errc{} && second.ptr == end && range.first >= 0 && count > 0) return range;
  }
  throw UsageError(option + ": " + Quoted(text) +
                   " is no range of frames; write the first, from 0, and how many, such as 100:25");
}

FileFormat ParseFormat(const std::string& name, const std::string& option) {
  if (const auto format = FormatNamed(name)) return *format;
  throw UsageError(option + ": " + Quoted(name) + " is no format; there are " + FormatNames());
}

int ParseLayout(const std::string& name) {
  if (name.empty()) return 0;
  if (name == "uyvy") return LayoutChromaFirst;
  if (name == "yuy2") return LayoutLumaFirst;
  throw UsageError("--layout: " + Quoted(name) +
                   " is no byte order; there are uyvy (chroma first) and yuy2 (luma first)");
}

}  // namespace kv_host
