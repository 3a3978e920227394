#pragma once

#include <string>
#include <vector>

namespace kv_host {

/// A picture on the page.
struct Plate {
  std::string file;  ///< Beside the page.
  std::string caption;
  int width = 0;
  int height = 0;
  int frames = 1;            ///< Stacked in the file, the first on top; more than one play as a film.
  bool isPixelated = false;  ///< Shown with hard edges, for small pictures with meaningful pixels.
};

/// An algorithm with what went in, what came out and how.
struct Exhibit {
  std::string title;
  std::string text;
  std::string command;  ///< As a person types it in the gallery's folder; more lines for more of them.
  std::string answer;   ///< What the command said, if it says anything.
  std::string algorithm;
  std::string member;
  double milliseconds = 0;  ///< For one frame.
  std::vector<Plate> before;
  std::vector<Plate> after;
};

/// All exhibits made from one picture.
struct Room {
  std::string title;
  std::string size;
  std::string note;  ///< What was done to the picture for the gallery, if anything.
  std::vector<Exhibit> exhibits;
};

}  // namespace kv_host
