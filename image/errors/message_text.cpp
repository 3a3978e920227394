#include "image/errors/message_text.h"

#include <cwchar>

namespace kv_std {
namespace {

constexpr std::size_t maxLength = 299;

bool IsDigit(wchar_t character) {
  return character >= L'0' && character <= L'9';
}

}  // namespace

std::wstring FormatMessageText(const wchar_t* text, const MessageArguments& arguments) {
  std::wstring message;
  if (text == nullptr) return message;
  while (*text != L'\0' && message.size() < maxLength) {
    if (text[0] == L'%' && text[1] == L'%') {
      message += L'%';
      text += 2;
    } else if (text[0] == L'%' && IsDigit(text[1])) {
      const wchar_t digit = text[1];
      if (digit >= L'1' && digit <= L'4') {
        const wchar_t* argument = arguments[static_cast<std::size_t>(digit - L'1')];
        if (argument != nullptr && message.size() + std::wcslen(argument) < maxLength) message += argument;
      }
      text += 2;
    } else {
      message += *text++;
    }
  }
  return message;
}

const wchar_t* FindText(const CatalogueEntry* catalogue, std::uint32_t code) noexcept {
  while (catalogue->code != 0 && catalogue->code != code) ++catalogue;
  return catalogue->text != nullptr ? catalogue->text : L"Empty message for exception code";
}

}  // namespace kv_std
