// Message formatting with any template and arguments against the rule, character by character.

#include <fuzzer/FuzzedDataProvider.h>

#include <optional>
#include <string>

#include "fuzz/check_input.h"
#include "image/errors/exceptions.h"
#include "image/errors/message_text.h"

namespace {

constexpr std::size_t mostCharacters = 299;

/// Few characters, so that percent signs and digits are frequent.
std::wstring AnyText(FuzzedDataProvider& input) {
  const std::wstring alphabet = L"%%%0123456789ab\u00e9\u65e5";
  std::wstring text;
  const int pieces = input.ConsumeIntegralInRange(0, 60);
  for (int i = 0; i < pieces; ++i) {
    const wchar_t character = alphabet[input.ConsumeIntegralInRange<std::size_t>(0, alphabet.size() - 1)];
    text.append(input.ConsumeBool() ? 1U : input.ConsumeIntegralInRange<std::size_t>(0, 40), character);
  }
  return text;
}

std::wstring Expected(const std::wstring& text, const kv_std::MessageArguments& arguments) {
  std::wstring message;
  for (std::size_t at = 0; at < text.size() && message.size() < mostCharacters; ++at) {
    const wchar_t next = at + 1 < text.size() ? text[at + 1] : L'\0';
    const bool isMark = text[at] == L'%' && (next == L'%' || (next >= L'0' && next <= L'9'));
    if (!isMark || next == L'%') message += text[at];
    if (isMark) ++at;
    if (!isMark || next < L'1' || next > L'4') continue;
    const wchar_t* argument = arguments[static_cast<std::size_t>(next - L'1')];
    if (argument == nullptr) continue;
    const std::wstring inserted = argument;
    if (message.size() + inserted.size() < mostCharacters) message += inserted;
  }
  return message;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const auto code = input.ConsumeIntegralInRange<std::uint32_t>(0, 40);
  const std::wstring text = AnyText(input);
  std::array<std::optional<std::wstring>, 4> texts;
  kv_std::MessageArguments arguments{};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (input.ConsumeBool()) texts[i] = AnyText(input);
    arguments[i] = texts[i] ? texts[i]->c_str() : nullptr;
  }
  const std::wstring message = kv_std::FormatMessageText(text.c_str(), arguments);
  kv_fuzz::Require(message == Expected(text, arguments), "another message than the rule gives");
  kv_fuzz::Require(message.size() <= mostCharacters, "a message too long");

  const auto requireShort = [](const kv_std::KVException& error) {
    kv_fuzz::Require(error.Message().size() <= mostCharacters, "a message of an exception too long");
  };
  requireShort(kv_img::AlgoMMXException(code, arguments[0], arguments[1]));
  requireShort(kv_img::AlgoMotionException(code, arguments[0], arguments[1], arguments[2]));
  requireShort(kv_img::AlgoException(code, arguments[0], arguments[1], arguments[2]));
  requireShort(kv_std::SpinBarrierException(code + 12590, arguments[0], arguments[1], arguments[2]));
  return 0;
}
