#include "host/formats/write_behind.h"

#include <gtest/gtest.h>

#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using kv_host::Raster;
using kv_host::WriteBehind;

Raster FrameOf(int number) {
  return {.width = number, .height = 1, .frameRate = {}, .pixelAspect = {}, .planes = {}};
}

TEST(WriteBehind, FramesAreWrittenInTheirOrderByAnotherThread) {
  std::vector<int> written;
  std::thread::id writer;
  WriteBehind behind([&](const Raster& frame) {
    writer = std::this_thread::get_id();
    if (frame.width % 7 == 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    written.push_back(frame.width);
  });
  std::vector<int> put;
  for (int number = 0; number < 100; ++number) {
    behind.Put(FrameOf(number));
    put.push_back(number);
  }
  behind.Finish();
  EXPECT_EQ(written, put);
  EXPECT_NE(writer, std::this_thread::get_id());
}

TEST(WriteBehind, AFailureIsThrownByALaterCallAndNothingIsWrittenAfterIt) {
  int last = -1;
  WriteBehind behind([&](const Raster& frame) {
    last = frame.width;
    if (frame.width == 3) throw std::runtime_error("disk full");
  });
  std::string message;
  try {
    for (int number = 0; number < 1000; ++number) behind.Put(FrameOf(number));
  } catch (const std::runtime_error& error) {
    message = error.what();
  }
  EXPECT_EQ(message, "disk full");
  EXPECT_EQ(last, 3);
}

TEST(WriteBehind, TheFailureOfTheLastFrameIsThrownInTheEnd) {
  WriteBehind behind([](const Raster&) { throw std::runtime_error("disk full"); });
  behind.Put(FrameOf(0));
  EXPECT_THROW(behind.Finish(), std::runtime_error);
}

}  // namespace
