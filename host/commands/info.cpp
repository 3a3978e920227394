#include <memory>

#include "host/commands/command.h"
#include "host/crossing.h"
#include "host/formats/format_error.h"

namespace kv_host {
namespace {

using Text = std::optional<std::string>;

Text TextOf(Ratio ratio) {
  if (ratio.numerator == 0 || ratio.denominator == 0) return std::nullopt;
  return std::to_string(ratio.numerator) + ":" + std::to_string(ratio.denominator);
}

Text NameOf(Interlace interlace) {
  switch (interlace) {
    case Interlace::Progressive:
      return "progressive";
    case Interlace::TopFieldFirst:
      return "top";
    case Interlace::BottomFieldFirst:
      return "bottom";
    default:
      return std::nullopt;
  }
}

Text NameOf(ColourMatrix matrix) {
  switch (matrix) {
    case ColourMatrix::Bt601:
      return "601";
    case ColourMatrix::Bt709:
      return "709";
    case ColourMatrix::Bt2020:
      return "2020";
    default:
      return std::nullopt;
  }
}

Text NameOf(ColourRange range) {
  if (range == ColourRange::Unknown) return std::nullopt;
  return range == ColourRange::Full ? "full" : "limited";
}

Text NameOf(ChromaSite chroma) {
  if (chroma == ChromaSite::Unknown) return std::nullopt;
  return chroma == ChromaSite::Centre ? "centre" : "left";
}

struct Colours {
  Text matrix;
  Text range;
  Text chroma;

  JsonText Json() const {
    return JsonText::Object().Add("matrix", matrix).Add("range", range).Add("chroma", chroma);
  }
  std::string Line() const {
    const auto word = [](const Text& text) { return text.value_or("not stated"); };
    return "matrix " + word(matrix) + ", range " + word(range) + ", chroma " + word(chroma);
  }
};

/// What a file is, as far as its container and its first frame tell.
class Facts {
 public:
  Facts(const PictureReader& reader, const Raster& frame) : reader_(reader), frame_(frame) {
    declared_ = {NameOf(frame.matrix), NameOf(frame.range), NameOf(frame.chroma)};
    const bool isYuv = frame.kind == RasterKind::Yuv422 || frame.kind == RasterKind::Yuva422 ||
                       frame.kind == RasterKind::Yuv422Planar;
    if (!isYuv) return;
    const VideoSide side = SideOf(frame);
    assumed_ = {NameOf(MatrixOf(side, {})), NameOf(RangeOf(side, {})),
                NameOf(frame.chroma == ChromaSite::Unknown ? ChromaSite::Left : frame.chroma)};
  }

  JsonText Json() const {
    JsonText streams = JsonText::Array();
    for (const auto& [kind, codec] : Streams())
      streams.Add(JsonText::Object().Add("kind", kind).Add("codec", codec));
    const KvAvInfo* info = reader_.Declared();
    JsonText json = JsonText::Object();
    json.Add("container", Container()).Add("codec", info != nullptr ? Text(info->codec) : std::nullopt);
    json.Add("pixels", Pixels());
    json.Add("stream", info != nullptr ? std::optional<int>(info->stream) : std::nullopt)
        .Add("streams", streams);
    json.Add("width", frame_.width).Add("height", frame_.height).Add("frames", Frames());
    json.Add("duration",
             info != nullptr && info->duration >= 0 ? std::optional<double>(info->duration) : std::nullopt);
    json.Add("rate", TextOf(frame_.frameRate)).Add("variable", info != nullptr && info->isVariable != 0);
    json.Add("aspect", TextOf(frame_.pixelAspect)).Add("fields", NameOf(frame_.interlace));
    json.Add("rotation", info != nullptr ? info->rotation : 0);
    json.Add("declared", declared_.Json()).Add("assumed", assumed_.Json());
    return json;
  }

  std::string Lines() const {
    const KvAvInfo* info = reader_.Declared();
    std::string text = "container: " + Container() + "\n";
    for (const auto& [kind, codec] : Streams()) text += "stream: " + kind + " " + codec + "\n";
    text += "pixels: " + Pixels() + "\n";
    text += "size: " + std::to_string(frame_.width) + "x" + std::to_string(frame_.height) + "\n";
    const auto frames = Frames();
    text += "frames: " + (frames ? std::to_string(*frames) : "not stated") + "\n";
    text += "rate: " + TextOf(frame_.frameRate).value_or("not stated") +
            (info != nullptr && info->isVariable != 0 ? ", variable" : "") + "\n";
    text += "pixel aspect: " + TextOf(frame_.pixelAspect).value_or("not stated") + "\n";
    text += "fields: " + NameOf(frame_.interlace).value_or("not stated") + "\n";
    if (info != nullptr && info->rotation != 0) {
      text +=
          "rotation: " + std::to_string(info->rotation) + " degrees clockwise in players, not applied here\n";
    }
    text += "declared: " + declared_.Line() + "\n";
    if (assumed_.matrix) text += "assumed: " + assumed_.Line() + "\n";
    return text;
  }

 private:
  std::string Container() const {
    const KvAvInfo* info = reader_.Declared();
    return info != nullptr ? info->container : std::string(TraitsOf(reader_.Format()).name);
  }
  std::string Pixels() const {
    const KvAvInfo* info = reader_.Declared();
    return info != nullptr ? info->pixels : kv_host::NameOf(frame_.kind);
  }
  std::optional<std::int64_t> Frames() const {
    const KvAvInfo* info = reader_.Declared();
    if (info == nullptr) return reader_.Length();
    return info->frames >= 0 ? std::optional(info->frames) : std::nullopt;
  }
  std::vector<std::pair<std::string, std::string>> Streams() const {
    std::vector<std::pair<std::string, std::string>> streams;
    const KvAvInfo* info = reader_.Declared();
    const int count = info != nullptr ? std::min<int>(info->streamCount, KvAvMostStreams) : 0;
    for (int i = 0; i < count; ++i) streams.emplace_back(info->streams[i].kind, info->streams[i].codec);
    return streams;
  }

  const PictureReader& reader_;
  const Raster& frame_;
  Colours declared_;
  Colours assumed_;
};

}  // namespace

void AddInfoCommand(CLI::App& app, Session& session) {
  struct Options {
    std::string input;
    InputOptions inputOptions;
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = app.add_subcommand("info", "Show what a file is, and what kv assumes of it");
  command->add_option("IN", options->input, "picture or video; - is standard input")->required();
  options->inputOptions.AddTo(*command, session);
  AddReportOption(*command, session);
  command->footer("Example: kv info clip.mp4 --json");
  command->callback([options, &session] {
    PictureReader reader(options->input, options->inputOptions.Get());
    options->inputOptions.RequireUse({&reader});
    const auto frame = reader.Next();
    const Facts facts(reader, *frame);
    session.answer = facts.Lines();
    session.result = facts.Json();
  });
}

}  // namespace kv_host
