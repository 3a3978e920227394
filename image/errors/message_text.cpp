#include "image/errors/message_text.h"

#include <algorithm>
#include <cwchar>

namespace kv_std {
namespace {

constexpr std::size_t maxLength = 299;

bool IsDigit(wchar_t character) {
  return character >= L'0' && character <= L'9';
}

}  // namespace

Message FormatMessageText(const wchar_t* text, const MessageArguments& arguments) {
  wchar_t message[maxLength];
  std::size_t length = 0;
  if (text == nullptr) return {};
  while (*text != L'\0' && length < maxLength) {
    if (text[0] == L'%' && text[1] == L'%') {
      message[length++] = L'%';
      text += 2;
    } else if (text[0] == L'%' && IsDigit(text[1])) {
      const wchar_t digit = text[1];
      if (digit >= L'1' && digit <= L'4') {
        const wchar_t* argument = arguments[static_cast<std::size_t>(digit - L'1')];
        const std::size_t added = argument != nullptr ? std::wcslen(argument) : maxLength;
        if (length + added < maxLength) {
          std::copy_n(argument, added, message + length);
          length += added;
        }
      }
      text += 2;
    } else {
      message[length++] = *text++;
    }
  }
  return Message({message, length});
}

const wchar_t* FindText(const CatalogueEntry* catalogue, std::uint32_t code) noexcept {
  while (catalogue->code != 0 && catalogue->code != code) ++catalogue;
  return catalogue->text != nullptr ? catalogue->text : L"Empty message for exception code";
}

}  // namespace kv_std
