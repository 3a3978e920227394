#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "image/export.h"

namespace kv_std {

/// The text of an exception, ended by a zero. The object owns it.
///
/// A text shorter than `shortCapacity` is kept in the object itself: making and copying it allocates nothing
/// and cannot fail, so that it can be thrown when there is no memory. A longer one is allocated; making and
/// copying it may throw std::bad_alloc.
class KV_IMAGE_API Message {
 public:
  static constexpr std::size_t shortCapacity = 64;

  Message() noexcept = default;
  explicit Message(std::wstring_view text);
  Message(const Message& other) : Message(std::wstring_view(other)) {}
  Message(Message&& other) noexcept = default;
  Message& operator=(const Message& other) { return *this = Message(other); }
  Message& operator=(Message&& other) noexcept = default;
  ~Message() = default;

  std::size_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }
  const wchar_t* c_str() const noexcept { return long_ != nullptr ? long_.get() : short_; }

  // The rest of what hosts ask of a std::wstring.
  static constexpr std::size_t npos = std::wstring_view::npos;
  std::size_t length() const noexcept { return size_; }
  const wchar_t* data() const noexcept { return c_str(); }
  const wchar_t* begin() const noexcept { return c_str(); }
  const wchar_t* end() const noexcept { return c_str() + size_; }
  wchar_t operator[](std::size_t index) const noexcept { return c_str()[index]; }
  template <class Part>
  std::size_t find(const Part& part, std::size_t from = 0) const noexcept {
    return std::wstring_view(*this).find(part, from);
  }
  std::wstring substr(std::size_t from = 0, std::size_t count = npos) const {
    return std::wstring(std::wstring_view(*this).substr(from, count));
  }
  int compare(std::wstring_view other) const noexcept { return std::wstring_view(*this).compare(other); }

  operator std::wstring_view() const noexcept { return {c_str(), size_}; }
  operator std::wstring() const { return {c_str(), size_}; }

 private:
  std::size_t size_ = 0;
  std::unique_ptr<wchar_t[]> long_;
  wchar_t short_[shortCapacity] = {};
};

inline bool operator==(const Message& a, std::wstring_view b) noexcept {
  return std::wstring_view(a) == b;
}
inline bool operator==(const Message& a, const Message& b) noexcept {
  return a == std::wstring_view(b);
}

inline std::wstring operator+(const Message& a, std::wstring_view b) {
  return std::wstring(a).append(b);
}
inline std::wstring operator+(std::wstring_view a, const Message& b) {
  return std::wstring(a).append(b);
}

}  // namespace kv_std
