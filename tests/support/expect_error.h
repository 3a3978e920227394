#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "image/errors/exceptions.h"

namespace kv_test {

/// Expects `call` to throw `Exception` with `code` and the message that these arguments give.
template <class Exception, class Call>
void ExpectError(Call call, std::uint32_t code, const std::wstring& arg1, const std::wstring& arg2 = L"") {
  try {
    call();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Exception& error) {
    const Exception expected(code, arg1.c_str(), arg2.c_str());
    EXPECT_EQ(error.Code(), code);
    EXPECT_EQ(error.Message(), expected.Message());
  } catch (const kv_std::KVException& error) {
    ADD_FAILURE() << "another class of exception, code " << error.Code();
  }
}

}  // namespace kv_test
