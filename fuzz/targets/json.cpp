// Reports of any texts and numbers, read back by another library; and options as people write them.

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "fuzz/check_input.h"
#include "host/errors.h"
#include "host/formats/format_error.h"
#include "host/formats/frame_names.h"
#include "host/json_text.h"
#include "host/region_option.h"

namespace {

using kv_fuzz::Require;
using kv_host::JsonText;
using nlohmann::json;

void CheckReport(FuzzedDataProvider& input) {
  const std::string text = input.ConsumeRandomLengthString(40);
  const auto number = input.ConsumeFloatingPoint<double>();
  const auto whole = input.ConsumeIntegral<std::int64_t>();
  JsonText list = JsonText::Array();
  const int count = input.ConsumeIntegralInRange(0, 3);
  for (int i = 0; i < count; ++i) list.Add(input.ConsumeRandomLengthString(8));
  JsonText report = JsonText::Object();
  report.Add("text", text).Add("number", number).Add("whole", whole).Add("list", list);
  const json whatIsRead = json::parse(report.Text(), nullptr, false);
  Require(!whatIsRead.is_discarded(), "a report that is no JSON");
  Require(whatIsRead == json::parse(report.Line(), nullptr, false), "a line of another report");
  Require(report.Line().find('\n') == std::string::npos, "a report on one line that has two");
  Require(whatIsRead["whole"] == whole && whatIsRead["list"].size() == static_cast<std::size_t>(count),
          "a report of other numbers");
  if (std::isfinite(number)) {
    Require(whatIsRead["number"].get<double>() == number, "a number that is read back as another");
  } else {
    Require(whatIsRead["number"].is_null(), "a number that is none");
  }
  // What is UTF-8 is kept.
  try {
    const std::string quoted = json(text).dump();
    Require(whatIsRead["text"] == text, "a text that is read back as another: " + quoted);
  } catch (const json::type_error&) {
    Require(whatIsRead["text"].get<std::string>().find("\xEF\xBF\xBD") != std::string::npos,
            "bytes that are no text without a mark");
  }
}

std::string OptionText(FuzzedDataProvider& input) {
  const std::string alphabet = "0123456789,,,x-+ .%d";
  std::string text;
  const int count = input.ConsumeIntegralInRange(0, 16);
  for (int i = 0; i < count; ++i) {
    text += alphabet[input.ConsumeIntegralInRange<std::size_t>(0, alphabet.size() - 1)];
  }
  return text;
}

void CheckOptions(FuzzedDataProvider& input) {
  const int width = input.ConsumeIntegralInRange(1, 100);
  const int height = input.ConsumeIntegralInRange(1, 100);
  const std::string text = OptionText(input);
  try {
    const kv_img::ImageRect rect = kv_host::ParseRect(text, "--region", width, height);
    Require(rect.IsValid() && rect.IsInside(kv_img::ImageRect(0, 0, width - 1, height - 1)),
            "a rectangle outside the picture");
  } catch (const kv_host::UsageError&) {
  }
  try {
    Require(kv_host::ParseNumbers(text, ',', 2, "--at", "1,2").size() == 2, "another count of numbers");
  } catch (const kv_host::UsageError&) {
  }
  try {
    const kv_host::FrameNames names(OptionText(input) + ".png");
    const auto number = input.ConsumeIntegralInRange<std::int64_t>(0, 1000000000);
    const std::string name = names.Of(number, input.ConsumeIntegralInRange(1, 12));
    if (names.IsPattern()) Require(names.NumberOf(name) == number, "a name of another frame: " + name);
  } catch (const kv_host::FormatError&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  CheckReport(input);
  CheckOptions(input);
  return 0;
}
