#pragma once

#include <array>
#include <cstdint>

#include "image/errors/message.h"

namespace kv_std {

/// One text of a catalogue. A catalogue ends with an entry of code 0 and empty text.
struct CatalogueEntry {
  std::uint32_t code;
  const wchar_t* text;
};

/// The arguments for %1 to %4; a null pointer is a missing argument.
using MessageArguments = std::array<const wchar_t*, 4>;

/// Replaces the placeholders of `text`, a template (null: the empty one), and returns at most 299 characters.
///
/// - `%%` gives one `%`.
/// - `%1` to `%4` give the argument of that number if it is present and the characters written so far plus
///   its length stay below 299; otherwise they give nothing: an argument is never cut. `%0` and `%5` to `%9`
///   give nothing.
/// - `%` before anything else stays as it is.
KV_IMAGE_API Message FormatMessageText(const wchar_t* text, const MessageArguments& arguments);

/// The text of `code`: that of the first entry with this code; the end marker's empty text when there is
/// none; "Empty message for exception code" where an entry has a null text.
KV_IMAGE_API const wchar_t* FindText(const CatalogueEntry* catalogue, std::uint32_t code) noexcept;

}  // namespace kv_std
