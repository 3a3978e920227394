#include "image/errors/message.h"

namespace kv_std {

Message::Message(std::wstring_view text) : size_(text.size()) {
  if (size_ >= shortCapacity) long_ = std::make_unique<wchar_t[]>(size_ + 1);
  text.copy(long_ != nullptr ? long_.get() : short_, size_);
}

}  // namespace kv_std
