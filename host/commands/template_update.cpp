#include "host/commands/template_update.h"

#include <charconv>

#include "host/errors.h"
#include "host/formats/format_error.h"

namespace kv_host {
namespace {

using kv_run::TemplateUpdate;

template <class Number>
bool IsNumber(const std::string& text, Number& number) {
  const char* const last = text.data() + text.size();
  const auto end = std::from_chars(text.data(), last, number);
  return end.ec == std::errc{} && end.ptr == last && number > 0;
}

}  // namespace

TemplateUpdate ParseTemplateUpdate(const std::vector<std::string>& words) {
  if (words.empty() || (words.size() == 1 && words[0] == "never")) return {};
  TemplateUpdate update{.when = TemplateUpdate::When::Every};
  if (words.size() == 1 && words[0] == "always") return update;
  if (words.size() == 1 && IsNumber(words[0], update.frames)) return update;
  update.when = TemplateUpdate::When::AboveScore;
  if (words.size() == 2 && words[0] == "on-score" && IsNumber(words[1], update.score)) return update;
  throw UsageError("--update: " + Quoted(words.back()) +
                   " is no rule; there are never, always, a number of frames, and on-score S");
}

}  // namespace kv_host
