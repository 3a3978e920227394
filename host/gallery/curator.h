#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "host/conversion.h"
#include "host/formats/picture_reader.h"
#include "host/frames.h"
#include "host/gallery/tour.h"

namespace kv_host {

/// Runs commands on files in the gallery's folder and notes what goes in and what comes out.
class Curator {
 public:
  explicit Curator(const Studio& studio) : studio_(studio), pool_(studio.threads), engine_{family_, pool_} {}

 protected:
  static std::string Text(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
  }
  std::string Shown(const std::string& name) const { return studio_.prefix + name; }
  std::string Path(const std::string& name) const { return (studio_.folder / Shown(name)).string(); }

  void Write(const std::string& name, const Raster& picture) const {
    PictureWriter writer(Path(name));
    WriteConverted(writer, picture, engine_);
    writer.Commit();
  }

  /// Runs a command line whose file names begin with @; the best of three runs counts.
  CommandResult Run(const std::vector<std::string>& words, const std::string& algorithm) const {
    std::vector<std::string> arguments;
    for (const std::string& word : words) {
      arguments.push_back(word.starts_with('@') ? Path(word.substr(1)) : word);
    }
    // Clipping works on one thread.
    if (words.front() != "clip") {
      arguments.insert(arguments.end(), {"--threads", std::to_string(studio_.threads)});
    }
    CommandResult best = studio_.run(arguments, algorithm);
    for (int again = 0; again < 2; ++again) {
      best.milliseconds = std::min(best.milliseconds, studio_.run(arguments, algorithm).milliseconds);
    }
    return best;
  }

  std::string CommandLine(const std::vector<std::string>& words) const {
    std::string line = "kv";
    for (const std::string& word : words) {
      const std::string shown = word.starts_with('@') ? Shown(word.substr(1)) : word;
      line += shown.find(' ') == std::string::npos ? " " + shown : " \"" + shown + "\"";
    }
    return line;
  }

  Plate PlateOf(const std::string& name, const std::string& caption) const {
    Plate plate{.file = Shown(name), .caption = caption};
    if (name.ends_with(".png")) {
      const Raster picture = *PictureReader(Path(name)).Next();
      plate.width = picture.width;
      plate.height = picture.height;
    } else {
      plate.width = width_;
      plate.height = height_;
    }
    return plate;
  }

  void Add(const std::string& algorithm, const std::string& title, const std::string& text,
           const std::vector<std::string>& words, std::vector<Plate> before,
           const std::vector<Plate>& after) {
    const CommandResult result = Run(words, algorithm);
    Exhibit exhibit{.title = title,
                    .text = text,
                    .command = CommandLine(words),
                    .answer = result.answer,
                    .algorithm = algorithm,
                    .member = result.member,
                    .milliseconds = result.milliseconds,
                    .before = std::move(before),
                    .after = {}};
    for (const Plate& plate : after) exhibit.after.push_back(PlateOf(plate.file, plate.caption));
    room_.exhibits.push_back(std::move(exhibit));
  }

  const Studio& studio_;
  Family family_;
  kv_run::WorkerPool pool_;
  Engine engine_;
  int width_ = 0;  ///< Of the pictures that the page shows.
  int height_ = 0;
  Room room_;
};

}  // namespace kv_host
