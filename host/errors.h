#pragma once

#include <stdexcept>
#include <string>

namespace kv_host {

/// What a person asked for cannot be: exit status 2. The text says what was wrong and what would be right.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// No member of the family can do it: exit status 3.
class NoMemberError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace kv_host
