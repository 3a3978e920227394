#pragma once

#include <cstdint>

#include "image/errors/message.h"

namespace kv_std {

/// The base of everything that the family throws: a numeric code and a finished, human-readable text.
///
/// Thrown by value, caught by reference to KVException or to a derived class. Copying takes the code and a
/// copy of the text.
class KV_IMAGE_API KVException {
 public:
  /// `text` is a template: %1 and %2 are replaced by `arg1` and `arg2` (see FormatMessageText).
  /// A null template counts as the empty one, a null argument as missing.
  explicit KVException(std::uint32_t code, const wchar_t* text = nullptr, const wchar_t* arg1 = nullptr,
                       const wchar_t* arg2 = nullptr);
  KVException(const KVException&) = default;
  KVException& operator=(const KVException&) = default;
  KVException(KVException&&) = default;
  KVException& operator=(KVException&&) = default;
  virtual ~KVException();

  std::uint32_t Code() const noexcept { return code_; }
  const kv_std::Message& Message() const noexcept { return message_; }

 protected:
  void SetMessage(kv_std::Message message) noexcept { message_ = static_cast<kv_std::Message&&>(message); }

 private:
  std::uint32_t code_;
  kv_std::Message message_;
};

}  // namespace kv_std
