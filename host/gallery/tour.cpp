#include "host/gallery/tour.h"

#include <algorithm>

#include "host/errors.h"
#include "host/gallery/curator.h"
#include "host/gallery/heat_map.h"
#include "host/gallery/photograph.h"
#include "host/gallery/retouch.h"

namespace kv_host {
namespace {

namespace fs = std::filesystem;

constexpr int panFrames = 24;

class Tour : Curator {
 public:
  Tour(const std::string& picture, const Studio& studio) : Curator(studio) {
    Photograph photograph = ReadPhotograph(picture, engine_);
    photo_ = std::move(photograph.frame);
    room_.note = std::move(photograph.note);
    if (photo_.width < 96 || photo_.height < 96) {
      throw UsageError(picture + " is " + Text(photo_.width, photo_.height) +
                       "; the gallery takes pictures from 96x96 on");
    }
    width_ = std::min(384, photo_.width * 2 / 3) / 16 * 16;
    height_ = std::min(288, photo_.height * 2 / 3) / 2 * 2;
    room_.title = fs::path(picture).filename().string();
    room_.size = Text(photo_.width, photo_.height);
  }

  Room Make() {
    MakeInputs();
    AddCopies();
    AddColours();
    AddComparisons();
    AddMasks();
    AddParity();
    AddPan();
    AddSearch();
    AddPolygon();
    return std::move(room_);
  }

 private:
  void MakeInputs() {
    // Room for a second view, a little further to the right and down.
    const int x = (photo_.width - width_) / 8 * 2;
    const int y = (photo_.height - height_) / 4;
    const Raster scene = Crop(photo_, x, y, width_, height_);
    Write("scene.y4m", scene);
    Write("scene-in.png", scene);
    Write("scene.uyvy", scene);
    const Raster moved = Crop(photo_, x + 6, y + 4, width_, height_);
    Write("moved.y4m", moved);
    Write("moved-in.png", moved);
    const Raster other = InOppositeColours(
        Crop(photo_, (photo_.width - width_) / 2 * 2, photo_.height - height_, width_, height_));
    Write("other.y4m", other);
    Write("other-in.png", other);
    Write("ramp.png", Ramp(width_, height_));
    scene_ = PlateOf("scene-in.png", "scene");
    moved_ = PlateOf("moved-in.png", "moved: six columns and four rows further");
    other_ = PlateOf("other-in.png", "other, in opposite colours");
    const Raster fields = Woven(scene, moved);
    Write("fields.y4m", fields);
    detail_ = MostUnevenPart(fields, 56, 42);
  }

  void AddCopies() {
    studio_.run({"convert", Path("scene.y4m"), Path("luma.png"), "--depth", "8"}, "Copy");
    const Plate raw = PlateOf("luma.png", "scene.uyvy, 4:2:2 video (its luma)");
    Add("Copy", "Copy to 24 bits",
        "Packed 4:2:2 video becomes a bitmap, by the matrix of standard definition.",
        {"convert", "@scene.uyvy", "@scene-24.png", "--size", Text(width_, height_), "--exact-copy"}, {raw},
        {{.file = "scene-24.png", .caption = "24-bit bitmap"}});
    const std::vector<std::string> words = {"convert", "@scene.uyvy",         "@scene-16.bmp",
                                            "--size",  Text(width_, height_), "--depth",
                                            "16",      "--exact-copy"};
    Run(words, "Copy");
    studio_.run({"convert", Path("scene-16.bmp"), Path("scene-16.png")}, "Copy");
    Add("Copy", "Copy to 16 bits",
        "The same with five, six and five bits for red, green and blue: look for steps in soft gradients.",
        words, {raw}, {{.file = "scene-16.png", .caption = "16-bit bitmap"}});
    constexpr int gain = 16;
    const auto bitmap = [&](const char* name) { return *PictureReader(Path(name)).Next(); };
    Write("scene-lost.png", AmplifiedDifference(bitmap("scene-24.png"), bitmap("scene-16.png"), gain));
    room_.exhibits.back().after.push_back(PlateOf("scene-lost.png", "what the 24 bits had more, times 16"));
    const std::string from = std::to_string(width_ / 6 * 2) + "," + std::to_string(height_ / 4) + "," +
                             std::to_string(width_ / 6 * 2) + "," + std::to_string(height_ / 2);
    Add("CopyROI", "Region copy", "A region of one picture goes into another, at a place of its own.",
        {"copy-roi", "@scene.y4m", "@other.y4m", "--from", from, "--to", "16,16", "--output",
         "@copy-roi.png"},
        {scene_, other_}, {{.file = "copy-roi.png", .caption = "other, with a part of scene"}});
  }

  void AddColours() {
    Write("bars.png", ColourBars(width_, height_));
    std::string commands;
    std::vector<Plate> after;
    std::vector<std::string> last;
    const auto run = [&](const std::string& from, const std::string& to, const std::string& matrix) {
      if (!last.empty()) {
        Run(last, "ColorConversion");
        commands += CommandLine(last) + "\n";
      }
      last = {"convert", "@" + from, "@" + to, "--matrix", matrix};
    };
    for (const auto& [matrix, other] :
         {std::pair<std::string, std::string>{"601", "709"}, {"709", "601"}, {"2020", "709"}}) {
      const std::string name = "bars-" + matrix;
      const std::string wrong = name + "-as-" + other + ".png";
      run("bars.png", name + ".y4m", matrix);
      run(name + ".y4m", name + ".png", matrix);
      run(name + ".y4m", wrong, other);
      after.push_back({.file = name + ".png", .caption = matrix + " read by " + matrix + ": right"});
      after.push_back({.file = wrong, .caption = matrix + " read by " + other + ": wrong"});
    }
    Add("ColorConversion", "Colour conversion",
        "Colours go to 4:2:2 by the matrix of standard, high and ultra-high definition and come back: by the "
        "same one they are the bars again, by another one greens, reds and skin are wrong.",
        last, {PlateOf("bars.png", "colour bars and skin")}, after);
    room_.exhibits.back().command.insert(0, commands);
  }

  void AddComparisons() {
    Add("AbsoluteDifference", "Absolute difference",
        "How much the luma of two pictures differs; black is equal.",
        {"diff", "@scene.y4m", "@moved.y4m", "@difference.png"}, {scene_, moved_},
        {{.file = "difference.png", .caption = "difference"}});
    const std::string third = std::to_string(width_ / 3);
    const std::string two = std::to_string(width_ - width_ / 3);
    const std::string tall = std::to_string(height_);
    Add("Average", "Average of two regions",
        "Each picture is valid in its own region; where the regions overlap the mean is taken.",
        {"average", "@scene.y4m", "@other.y4m", "@average.png", "--region-a", "0,0," + two + "," + tall,
         "--region-b", third + ",0," + two + "," + tall},
        {scene_, other_},
        {{.file = "average.png", .caption = "left: scene, right: other, middle: the mean"}});
    Add("AverageFilter", "Box filter", "Each sample becomes the mean of the box around it.",
        {"filter", "@scene.y4m", "@filtered.png", "--window", "15"}, {scene_},
        {{.file = "filtered.png", .caption = "a box of 15 by 15"}});
    Add("BlendBoost", "Blend",
        "One picture over another under a mask, more strongly where the lower one is brighter.",
        {"blend", "@other.y4m", "@scene.y4m", "@ramp.png", "@blend.png"},
        {other_, scene_, PlateOf("ramp.png", "mask")}, {{.file = "blend.png", .caption = "blend"}});
  }

  void AddMasks() {
    const Raster scene =
        Convert(*PictureReader(Path("scene.y4m")).Next(), RasterKind::Yuv422, LayoutLumaFirst, engine_);
    const Raster painted = WithMiddlePainted(scene);
    Write("painted.y4m", painted);
    Write("painted-in.png", painted);
    Add("AlphaLayerColorBased", "Mask from colour",
        "White where two pictures have the same colour, darker where their chroma differs, smoothed.",
        {"alpha-color", "@scene.y4m", "@painted.y4m", "@mask-color.png", "--window", "5"},
        {scene_, PlateOf("painted-in.png", "its middle in other colours")},
        {{.file = "mask-color.png", .caption = "mask"}});
    const Raster screened = BeforeScreen(scene);
    Write("screen.y4m", screened);
    Write("screen-in.png", screened);
    Add("AlphaLayerColorBased", "Keying",
        "What has not the colour of the screen is put over another picture: the mask from colour, inverted "
        "and stretched, weighs the two, and nothing else does.",
        {"key", "@screen.y4m", "--color", std::to_string(screenCb) + "," + std::to_string(screenCr),
         "@other.y4m", "@keyed.png"},
        {PlateOf("screen-in.png", "scene before a screen"), other_},
        {{.file = "keyed.png", .caption = "the same before other"}});
    Add("AlphaLayerProbMask", "Mask from probabilities",
        "How much likelier a pixel is in the first picture than in the second, smoothed; luma stands for it.",
        {"alpha-prob", "@scene.y4m", "@other.y4m", "@mask-prob.png", "--window", "5", "--gain", "2"},
        {scene_, other_}, {{.file = "mask-prob.png", .caption = "mask"}});
  }

  void AddParity() {
    const auto writeDetail = [&](const std::string& video, const std::string& name) {
      constexpr int scale = 6;
      const Raster frame = Convert(*PictureReader(Path(video)).Next(), RasterKind::Dib24, 0, engine_);
      Write(name, Enlarged(frame, detail_, scale));
      return PlateOf(name, "");
    };
    Plate before = writeDetail("fields.y4m", "fields-detail.png");
    before.caption = "two fields of two moments, a part enlarged";
    Add("ParityChange", "Field parity",
        "The frame moves by half a line to the other field parity: each row is the mean of two, so combs "
        "become soft edges.",
        {"parity", "@fields.y4m", "@parity.y4m", "--method", "blend"}, {before}, {});
    Plate after = writeDetail("parity.y4m", "parity-detail.png");
    after.caption = "half a line on, the same part";
    room_.exhibits.back().after = {after};
  }

  void AddPan() {
    Write("photo.y4m", photo_);
    Write("photo-in.png", photo_);
    const int width = std::min(240, photo_.width / 2) / 8 * 8;
    const int height = std::min(192, photo_.height / 2) / 2 * 2;
    Add("Scanning", "Pan", "A window moves across the photograph in fractions of a pixel.",
        {"pan", "@photo.y4m", "@pan.y4m", "--size", Text(width, height), "--frames",
         std::to_string(panFrames), "--direction", "right"},
        {PlateOf("photo-in.png", "photograph")}, {});
    // All frames in one picture, which the page moves past a window.
    std::vector<Raster> frames;
    PictureReader reader(Path("pan.y4m"));
    while (const auto frame = reader.Next()) frames.push_back(Convert(*frame, RasterKind::Dib24, 0, engine_));
    Write("pan.png", Stacked(frames));
    room_.exhibits.back().after = {{.file = Shown("pan.png"),
                                    .caption = std::to_string(panFrames) + " frames",
                                    .width = width,
                                    .height = height,
                                    .frames = panFrames}};
  }

  void AddSearch() {
    const int half = std::min(16, std::min(width_, height_) / 6);
    const int range = std::min(40, std::min(width_, height_) / 2 - half - 6);
    Add("FeatureFind", "Template search",
        "A small part of one picture is sought in another; the map shows the mean difference everywhere, "
        "blue is bad.",
        {"find", "@scene.y4m", "@moved.y4m", "--at",
         std::to_string(width_ / 2) + "," + std::to_string(height_ / 2), "--half", Text(half, half),
         "--range", Text(range, range), "--map", "@surface.png", "--annotate", "@found.png"},
        {}, {{.file = "found.png", .caption = "the part in scene, the match in moved"}});
    constexpr int scale = 4;
    Write("surface-heat.png", HeatMap(*PictureReader(Path("surface.png")).Next(), scale));
    room_.exhibits.back().after.push_back(
        PlateOf("surface-heat.png", "the score of every place, the best one framed"));
    room_.exhibits.back().after.back().isPixelated = true;
  }

  void AddPolygon() {
    const auto at = [&](int x, int y) {
      return std::to_string(width_ * x / 16) + "," + std::to_string(height_ * y / 8) + " ";
    };
    const std::string arrow = at(2, 1) + at(14, 1) + at(6, 4) + at(14, 7) + at(2, 7);
    const std::string region =
        std::to_string(width_ / 2) + ",0," + std::to_string(width_ / 4) + "," + std::to_string(height_);
    Add("FillPoly", "Polygon",
        "A polygon is clipped to a region and its scan lines are prepared. Pixels stay as they are: a "
        "painter takes it from there.",
        {"clip", "--polygon", arrow.substr(0, arrow.size() - 1), "--size", Text(width_, height_), "--region",
         region, "--svg", "@pieces.svg"},
        {}, {{.file = "pieces.svg", .caption = "polygon, region (dashed) and pieces"}});
  }

  Raster photo_;
  Plate scene_;
  Plate other_;
  Plate moved_;
  kv_img::ImageRect detail_;
};

}  // namespace

Room MakeTour(const std::string& picture, const Studio& studio) {
  return Tour(picture, studio).Make();
}

}  // namespace kv_host
