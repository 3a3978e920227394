#include "image/errors/kv_exception.h"

#include "image/errors/message_text.h"

namespace kv_std {

KVException::KVException(std::uint32_t code, const wchar_t* text, const wchar_t* arg1, const wchar_t* arg2)
    : code_(code), message_(FormatMessageText(text, {arg1, arg2, nullptr, nullptr})) {}

KVException::~KVException() = default;

}  // namespace kv_std
