#include <algorithm>
#include <charconv>
#include <memory>
#include <sstream>

#include "frame/interfaces/fill_poly.h"
#include "geometry/intersection.h"
#include "host/commands/command.h"
#include "host/errors.h"
#include "host/formats/byte_sink.h"
#include "host/formats/format_error.h"
#include "host/text_stream.h"
#include "image/image.h"
#include "image/image_rect.h"

namespace kv_host {
namespace {

using kv_math::Polygon2;
using kv_math::Vector2;
using Bitmap = kv_img::Image<kv_img::PixelDIB24>;

struct ClipOptions {
  std::string polygon;
  std::string region;
  std::string size;
  std::string svg;
  EngineOptions engine;

  void Run() const {
    const Size image = ParseSize(size, "--size");
    if (image.width > kv_img::maxImageSide || image.height > kv_img::maxImageSide) {
      throw UsageError("--size: " + size + " is too large; sides go up to 1048576 pixels");
    }
    const auto where = ParseRect(region, "--region", image.width, image.height);
    const std::vector<Vector2> vertices = ParseVertices();
    if (!svg.empty() && !svg.ends_with(".svg")) {
      throw UsageError("--svg: " + svg + " is no name of a drawing; write one such as pieces.svg");
    }
    Polygon2 whole;
    for (const Vector2& vertex : vertices) whole.AddVertex(vertex);
    std::vector<Polygon2> pieces;
    Intersection(whole,
                 kv_math::Rect2(where.GetLeft(), where.GetTop(), where.GetRight() + 1, where.GetBottom() + 1),
                 pieces);

    const OwnedEngine owned(engine);
    const Engine with = owned.Get();
    const auto& operation = with.family.Require<kv_img::FillPolyAlgorithmInterface<Bitmap>>(
        "FillPoly", {kv_img::PixelDIB24::ClassID});
    Bitmap canvas(image.width, image.height);
    with.Time("FillPoly",
              [&] { operation.Apply(canvas, vertices, kv_img::PixelDIB24(0, 0, 0), 0, 0, where); });
    if (!svg.empty()) WriteSvg(image, where, whole, pieces);
    Answer(pieces, with);
  }

 private:
  std::vector<Vector2> ParseVertices() const {
    std::istringstream points(polygon);
    std::vector<Vector2> vertices;
    for (std::string point; points >> point;) {
      Vector2 vertex(0, 0);
      const char* end = point.data() + point.size();
      const auto x = std::from_chars(point.data(), end, vertex.x);
      if (x.ec == std::errc{} && x.ptr != end && *x.ptr == ',') {
        const auto y = std::from_chars(x.ptr + 1, end, vertex.y);
        if (y.ec == std::errc{} && y.ptr == end) {
          vertices.push_back(vertex);
          continue;
        }
      }
      throw UsageError("--polygon: " + Quoted(point) +
                       " is no point; write x,y pairs such as \"2,1 14,1 6,4\"");
    }
    if (vertices.size() < 3) throw UsageError("--polygon: a polygon has three points or more");
    return vertices;
  }

  static std::string Points(const Polygon2& polygon) {
    TextStream text;
    for (std::size_t i = 0; i < polygon.GetNbrOfVertices(); ++i) {
      text << (i == 0 ? "" : " ") << polygon[i].x << ',' << polygon[i].y;
    }
    return text.str();
  }

  void WriteSvg(Size image, const kv_img::ImageRect& where, const Polygon2& whole,
                const std::vector<Polygon2>& pieces) const {
    const double line = std::max(image.width, image.height) / 200.0;
    TextStream text;
    text << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << image.width << ' ' << image.height
         << "\" width=\"" << image.width << "\" height=\"" << image.height << "\">\n"
         << "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n<g stroke-width=\"" << line << "\">\n"
         << "<polygon points=\"" << Points(whole) << "\" fill=\"#cfe3f5\" stroke=\"#5b87ad\"/>\n";
    for (const Polygon2& piece : pieces) {
      text << "<polygon points=\"" << Points(piece) << "\" fill=\"#f2a65a\" stroke=\"#a3541b\"/>\n";
    }
    text << "<rect x=\"" << where.GetLeft() << "\" y=\"" << where.GetTop() << "\" width=\""
         << where.GetWidth() << "\" height=\"" << where.GetHeight()
         << "\" fill=\"none\" stroke=\"#333\" stroke-dasharray=\"" << 4 * line << ' ' << 2 * line
         << "\"/>\n</g>\n</svg>\n";
    ByteSink sink(svg);
    sink.Write(text.str());
    sink.Commit();
    engine.session->files.push_back(svg);
  }

  void Answer(const std::vector<Polygon2>& pieces, const Engine& with) const {
    Session& session = *engine.session;
    JsonText all = JsonText::Array();
    for (const Polygon2& piece : pieces) {
      JsonText points = JsonText::Array();
      for (std::size_t i = 0; i < piece.GetNbrOfVertices(); ++i) {
        points.Add(std::vector<double>{piece[i].x, piece[i].y});
      }
      all.Add(points);
      session.answer += Points(piece) + "\n";
    }
    session.result = JsonText::Object();
    session.result->Add("pieces", all).Add("member", with.family.AnsweredBy("FillPoly"));
    if (pieces.empty()) {
      session.failure = {NothingFound, "notFound", "no part of the polygon is inside --region"};
    }
  }
};

}  // namespace

void AddClipCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<ClipOptions>();
  CLI::App* command = app.add_subcommand("clip", "Clip a polygon to a region, as a polygon fill does");
  command->add_option("--polygon", options->polygon, "the corners, as x,y pairs with spaces between")
      ->required()
      ->type_name("POINTS");
  command->add_option("--size", options->size, "width and height of the picture")
      ->required()
      ->type_name("WxH");
  command->add_option("--region", options->region, "part of the picture to fill, as x,y,w,h")
      ->required()
      ->type_name("RECT");
  command->add_option("--svg", options->svg, "draw polygon, region and pieces")->type_name("FILE");
  options->engine.AddWithoutThreadsTo(*command, session);
  command->footer(
      "Example: kv clip --polygon \"2,1 14,1 6,4 14,7 2,7\" --size 16x8 --region 8,0,4,8 --svg pieces.svg");
  command->callback([options] { options->Run(); });
}

}  // namespace kv_host
