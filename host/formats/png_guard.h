#pragma once

#include <png.h>

#include <csetjmp>
#include <exception>
#include <string>

namespace kv_host::png {

/// What a libpng call leaves when it fails.
struct Failure {
  std::string text;              // libpng's words
  std::exception_ptr exception;  // or what the file threw inside a callback
};

inline void OnError(png_structp png, png_const_charp text) {
  static_cast<Failure*>(png_get_error_ptr(png))->text = text;
  png_longjmp(png, 1);
}

inline void OnWarning(png_structp, png_const_charp) {}

/// Runs libpng calls; false if they failed. libpng leaves a failing call by a jump to here, which destroys
/// nothing on its way: `step` must call libpng only, and own nothing.
template <class Step>
bool Succeeds(png_structp png, const Step& step) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  step();
  return true;
}

}  // namespace kv_host::png
