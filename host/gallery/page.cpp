#include "host/gallery/page.h"

#include <iomanip>
#include <sstream>

#include "host/text_stream.h"

namespace kv_host {
namespace {

constexpr const char* style = R"css(
:root { color-scheme: light dark; --ground: #f6f5f2; --card: #fff; --ink: #22252a; --faint: #666d78; --line: #dcdad4;
  --code: #eeece6; --accent: #a3541b; }
@media (prefers-color-scheme: dark) {
  :root { --ground: #15171b; --card: #1e2126; --ink: #e6e4df; --faint: #9aa1ac; --line: #343941; --code: #282c33;
    --accent: #f2a65a; } }
* { box-sizing: border-box; }
body { margin: 0; background: var(--ground); color: var(--ink); font: 16px/1.5 system-ui, "Segoe UI", "DejaVu Sans",
  sans-serif; }
header, main, footer { max-width: 76rem; margin: 0 auto; padding: 0 1rem; }
header { padding-top: 2.5rem; }
h1 { font-size: 2rem; line-height: 1.2; margin: 0 0 .5rem; }
h2 { margin: 2.5rem 0 0; font-size: 1.3rem; }
h2 small { color: var(--faint); font-weight: 400; font-size: .9rem; }
header p, footer { color: var(--faint); max-width: 44rem; }
nav { display: flex; flex-wrap: wrap; gap: .4rem; margin-top: 1rem; }
nav a { color: var(--ink); text-decoration: none; border: 1px solid var(--line); border-radius: 1rem; padding: .1rem .7rem;
  font-size: .85rem; background: var(--card); }
nav a:hover, nav a:focus { border-color: var(--accent); color: var(--accent); }
article { background: var(--card); border: 1px solid var(--line); border-radius: .7rem; padding: 1.2rem; margin: 1rem 0; }
h3 { margin: 0; font-size: 1.15rem; }
article p { margin: .2rem 0 1rem; color: var(--faint); }
.plates { display: flex; flex-wrap: wrap; align-items: flex-start; gap: 1rem; }
.arrow { align-self: center; font-size: 1.6rem; color: var(--accent); }
figure { margin: 0; flex: 0 1 auto; min-width: 0; max-width: 100%; }
.before figure { max-width: 12.5rem; }
.plates > div { display: flex; flex-wrap: wrap; gap: .8rem; min-width: 0; }
img, .film { display: block; max-width: 100%; height: auto; border-radius: .3rem; background: var(--code); }
.hard { image-rendering: pixelated; }
figcaption { font-size: .8rem; color: var(--faint); margin-top: .3rem; }
.film { overflow: hidden; }
.film img { width: 100%; border-radius: 0; animation: film 3s infinite alternate; }
.film:hover img { animation-play-state: paused; }
@keyframes film { to { transform: translateY(var(--end)); } }
@media (prefers-reduced-motion: reduce) { .film img { animation-play-state: paused; } }
pre { margin: 1rem 0 0; padding: .6rem .8rem; background: var(--code); border-radius: .4rem; white-space: pre-wrap;
  overflow-wrap: anywhere; font: .85rem/1.45 ui-monospace, "DejaVu Sans Mono", monospace; }
pre b { display: inline-block; max-width: 100%; font-weight: inherit; }
pre span { color: var(--faint); }
dl { display: flex; flex-wrap: wrap; gap: .2rem 1.5rem; margin: .7rem 0 0; font-size: .85rem; }
dl div { display: flex; gap: .4rem; } dt { color: var(--faint); } dd { margin: 0; font-variant-numeric: tabular-nums; }
footer { padding: 1rem 1rem 3rem; font-size: .85rem; }
@media (max-width: 40rem) {
  header { padding-top: 1.5rem; } h1 { font-size: 1.5rem; } article { padding: .9rem; }
  .plates { flex-direction: column; } .arrow { transform: rotate(90deg); margin: -.4rem 0; }
  .before figure { max-width: calc(50% - .4rem); } }
)css";

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

/// A file's name as an address: what has a meaning there is written as its number.
std::string Address(const std::string& file) {
  TextStream address;
  for (const unsigned char character : file) {
    if (std::isalnum(character) != 0 || character == '-' || character == '.' || character == '_') {
      address << character;
    } else {
      address << '%' << std::uppercase << std::hex << std::setw(2) << std::setfill('0') << int{character};
    }
  }
  return address.str();
}

std::string ImageTag(const Plate& plate) {
  TextStream html;
  html << "<img src=\"" << Address(plate.file) << "\" alt=\"" << Escaped(plate.caption) << "\" width=\""
       << plate.width << "\" height=\"" << plate.height * plate.frames << "\""
       << (plate.isPixelated ? " class=\"hard\"" : "");
  if (plate.frames > 1) {
    html << " style=\"--end:calc(-100% * " << plate.frames - 1 << " / " << plate.frames
         << ");animation-timing-function:steps(" << plate.frames - 1 << ")\"";
  }
  html << ">";
  return html.str();
}

/// A command line that breaks between words only: an option torn apart after a hyphen reads as another.
std::string Words(const std::string& command) {
  std::string html;
  std::istringstream words(command);
  for (std::string word; words >> word;) html += (html.empty() ? "<b>" : " <b>") + Escaped(word) + "</b>";
  return html;
}

std::string Lines(const std::string& commands) {
  std::string html;
  std::istringstream lines(commands);
  for (std::string line; std::getline(lines, line);) {
    if (!html.empty()) html += '\n';
    html += Words(line);
  }
  return html;
}

void Show(std::ostream& html, const std::vector<Plate>& plates, const char* group) {
  html << "<div class=\"" << group << "\">\n";
  for (const Plate& plate : plates) {
    html << "<figure>";
    if (plate.frames > 1) {
      html << "<div class=\"film\" style=\"width:" << plate.width << "px;aspect-ratio:" << plate.width << "/"
           << plate.height << "\">" << ImageTag(plate) << "</div>";
    } else {
      html << ImageTag(plate);
    }
    html << "<figcaption>" << Escaped(plate.caption) << "</figcaption></figure>\n";
  }
  html << "</div>\n";
}

void Show(std::ostream& html, const Exhibit& exhibit, const std::string& anchor) {
  html << "<article id=\"e" << anchor << "\">\n<h3>" << Escaped(exhibit.title) << "</h3>\n<p>"
       << Escaped(exhibit.text) << "</p>\n<div class=\"plates\">\n";
  if (!exhibit.before.empty()) {
    Show(html, exhibit.before, "before");
    html << "<div class=\"arrow\" aria-hidden=\"true\">→</div>\n";
  }
  Show(html, exhibit.after, "after");
  html << "</div>\n<pre>" << Lines(exhibit.command);
  if (!exhibit.answer.empty()) html << "\n<span>" << Escaped(exhibit.answer) << "</span>";
  html << "</pre>\n<dl><div><dt>algorithm</dt><dd>" << Escaped(exhibit.algorithm)
       << "</dd></div><div><dt>answered by</dt><dd>" << Escaped(exhibit.member)
       << "</dd></div><div><dt>time</dt><dd>" << std::fixed << std::setprecision(3) << exhibit.milliseconds
       << " ms a frame</dd></div></dl>\n</article>\n";
}

}  // namespace

std::string GalleryPage(const std::vector<Room>& rooms, const std::string& footing,
                        const std::vector<std::string>& problems) {
  TextStream html;
  html << "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
          "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
          "<link rel=\"icon\" href=\"data:,\">\n<title>kv: gallery</title>\n<style>"
       << style << "</style>\n</head>\n<body>\n<header>\n<h1>What went in, what came out</h1>\n"
       << "<p>Every algorithm of the family on the same picture, with the command that makes it again in "
          "this folder, "
          "the member that answered and the time it took.</p>\n<nav>\n";
  const auto anchorOf = [](std::size_t room, std::size_t exhibit) {
    return std::to_string(room + 1) + "-" + std::to_string(exhibit + 1);
  };
  for (std::size_t i = 0; !rooms.empty() && i < rooms.front().exhibits.size(); ++i) {
    html << "<a href=\"#e" << anchorOf(0, i) << "\">" << Escaped(rooms.front().exhibits[i].title) << "</a>\n";
  }
  html << "</nav>\n";
  for (const std::string& problem : problems) html << "<p>Not shown: " << Escaped(problem) << "</p>\n";
  html << "</header>\n<main>\n";
  for (std::size_t room = 0; room < rooms.size(); ++room) {
    html << "<h2>" << Escaped(rooms[room].title) << " <small>" << Escaped(rooms[room].size)
         << (rooms[room].note.empty() ? "" : ", " + Escaped(rooms[room].note)) << "</small></h2>\n";
    for (std::size_t i = 0; i < rooms[room].exhibits.size(); ++i) {
      Show(html, rooms[room].exhibits[i], anchorOf(room, i));
    }
  }
  html << "</main>\n<footer>" << Escaped(footing) << "</footer>\n</body>\n</html>\n";
  return html.str();
}

}  // namespace kv_host
