// What a child says that does not mean well.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <limits>
#include <memory>

#include "host/av/av_reader.h"
#include "host/av/shared_frames.h"
#include "host/av/wire.h"
#include "host/formats/format_error.h"

namespace {

using kv_host::WireKind;

/// What a child says, byte by byte, and rows of one byte.
class Told final : public kv_host::AvPeer {
 public:
  explicit Told(std::size_t rows) : rows_(rows, 7) {}

  template <class Struct>
  void Say(WireKind kind, const Struct& body, std::uint32_t bytes = sizeof(Struct)) {
    const kv_host::WireHeader header{.kind = kind, .bytes = bytes};
    Append(&header, sizeof header);
    Append(&body, sizeof body);
  }

  bool Read(std::span<std::uint8_t> out) override {
    if (said_.size() - at_ < out.size()) return false;
    std::memcpy(out.data(), said_.data() + at_, out.size());
    at_ += out.size();
    return true;
  }
  std::span<const std::uint8_t> Frame() override { return rows_; }
  void ReleaseFrame() override {}
  std::string Ending() override { return "the child ended"; }

 private:
  void Append(const void* from, std::size_t count) {
    const auto* bytes = static_cast<const std::uint8_t*>(from);
    said_.insert(said_.end(), bytes, bytes + count);
  }

  std::vector<std::uint8_t> rows_;
  std::vector<std::uint8_t> said_;
  std::size_t at_ = 0;
};

KvAvFrame FrameOf(int kind, int width, int height) {
  KvAvFrame frame{};
  frame.kind = kind;
  frame.width = width;
  frame.height = height;
  return frame;
}

KvAvFrame FrameAt(KvAvFrame frame, double time) {
  frame.time = time;
  return frame;
}

class AvMessagesFrom : public testing::Test {
 protected:
  std::unique_ptr<kv_host::FrameReader> Open() {
    options_.log = &log_;
    return kv_host::ReadAv(source_, std::move(told_), options_, 0);
  }
  /// Why nothing is read, if so.
  std::string Problem() {
    try {
      const auto reader = Open();
      while (reader->Next()) {
      }
      return log_.damage ? log_.damage->what() : "";
    } catch (const kv_host::FormatError& error) {
      return error.what();
    }
  }

  kv_host::ByteSource source_{"/dev/null"};
  kv_host::AvLog log_;
  kv_host::AvOptions options_;
  std::unique_ptr<Told> told_ = std::make_unique<Told>(64);
};

TEST_F(AvMessagesFrom, AChildThatLiesAboutItsClip) {
  KvAvInfo info{};
  std::memset(info.codec, 'x', sizeof info.codec);
  std::strcpy(info.container, "two\nlines\xFF");
  info.streamCount = -3;
  info.rate[0] = 25;
  info.aspect[1] = -1;
  info.rotation = 1 << 30;
  info.frames = std::numeric_limits<std::int64_t>::max();
  info.duration = std::numeric_limits<double>::quiet_NaN();
  told_->Say(WireKind::Info, info);
  const auto reader = Open();
  const KvAvInfo& sound = *reader->Declared();
  EXPECT_EQ(sound.codec, std::string(KvAvTextSize - 1, 'x'));
  EXPECT_STREQ(sound.container, "two?lines?");
  EXPECT_EQ(sound.streamCount, 0);
  EXPECT_EQ(sound.rate[0], 0);
  EXPECT_EQ(sound.aspect[1], 0);
  EXPECT_EQ(sound.rotation, 0);
  EXPECT_EQ(sound.frames, std::int64_t{1} << 53);
  EXPECT_EQ(sound.duration, -1);
}

TEST_F(AvMessagesFrom, StreamsBeyondTheList) {
  KvAvInfo info{};
  info.streamCount = 1000;
  told_->Say(WireKind::Info, info);
  EXPECT_EQ(Open()->Declared()->streamCount, KvAvMostStreams);
}

TEST_F(AvMessagesFrom, FramesOfTheRowsThatAreThere) {
  KvAvInfo info{};
  info.isVariable = 1;
  told_->Say(WireKind::Info, info);
  KvAvFrame frame = FrameOf(KvAvPlanar, 8, 4);
  frame.rate[0] = -25;
  frame.rate[1] = 1;
  frame.number = -9;
  frame.time = std::numeric_limits<double>::infinity();
  frame.rowBytes[0] = 1 << 30;  // of which nothing is read
  told_->Say(WireKind::Frame, frame);
  const double times[] = {-0.5, 1e300, std::numeric_limits<double>::quiet_NaN(), 1e9};
  for (const double time : times) {
    told_->Say(WireKind::Frame, FrameAt(frame, time));
  }
  told_->Say(WireKind::End, kv_host::WireEnd{.frames = 5});
  const auto reader = Open();
  const auto read = reader->Next();
  ASSERT_TRUE(read);
  EXPECT_EQ(read->ByteCount(), 64U);
  EXPECT_EQ(read->planes[2].bytes, std::vector<std::uint8_t>(16, 7));
  EXPECT_EQ(read->frameRate, kv_host::Ratio{});
  for (std::size_t i = 0; i < std::size(times); ++i) EXPECT_TRUE(reader->Next());
  EXPECT_EQ(log_.notes[0].times, (std::vector<double>{-1, -1, -1, -1, 1e9}));
  EXPECT_FALSE(reader->Next());
}

TEST_F(AvMessagesFrom, AFrameLargerThanItsPlace) {
  told_->Say(WireKind::Info, KvAvInfo{});
  told_->Say(WireKind::Frame, FrameOf(KvAvPlanar, 8, 5));
  EXPECT_EQ(Problem(), "/dev/null: a frame of 8x5 takes more memory than --max-memory allows");
}

TEST_F(AvMessagesFrom, SizesThatNoPictureHas) {
  told_->Say(WireKind::Info, KvAvInfo{});
  told_->Say(WireKind::Frame, FrameOf(KvAvGrey, 40000, -1));
  EXPECT_TRUE(Problem().starts_with("/dev/null: size 40000x-1 is out of range")) << Problem();
}

TEST_F(AvMessagesFrom, MessagesOfAnotherLengthOrOrder) {
  told_->Say(WireKind::Frame, FrameOf(KvAvGrey, 8, 8));
  EXPECT_EQ(Problem(), "/dev/null: the child ended at frame 0");
  told_ = std::make_unique<Told>(64);
  told_->Say(WireKind::Info, KvAvInfo{}, 8);
  told_->Say(WireKind::End, kv_host::WireEnd{});
  EXPECT_EQ(Problem(), "/dev/null: the child ended at frame 0");
  told_ = std::make_unique<Told>(64);
  told_->Say(WireKind::Info, KvAvInfo{});
  told_->Say(WireKind::Frame, FrameOf(KvAvGrey, 8, 8));
  told_->Say(static_cast<WireKind>(77), KvAvInfo{});
  EXPECT_EQ(Problem(), "/dev/null: the child ended at frame 1");
}

TEST_F(AvMessagesFrom, AFailureOfSeveralLines) {
  kv_host::WireFailure failure{};
  failure.result = KvAvDamaged;
  std::memset(failure.problem, '\n', sizeof failure.problem);
  told_->Say(WireKind::Failure, failure);
  EXPECT_EQ(Problem(), "/dev/null: " + std::string(KvAvProblemSize - 1, '?'));
}

TEST(AvSharedFrames, NobodyShrinksThem) {
  const int memory = kv_host::SharedFrames::Create(1 << 20);
  ASSERT_GE(memory, 0);
  EXPECT_NE(ftruncate(memory, 4096), 0);
  EXPECT_NE(ftruncate(memory, 1 << 21), 0);
  EXPECT_EQ(fcntl(memory, F_GET_SEALS), F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL);
  kv_host::SharedFrames written(memory, true);
  kv_host::SharedFrames read(memory, false);
  ASSERT_TRUE(written.IsMapped() && read.IsMapped());
  EXPECT_EQ(read.Place().size(), 1U << 19);
  for (const std::uint8_t value : {1, 2, 3}) {
    written.Place().back() = value;
    EXPECT_EQ(read.Place().back(), value);
    written.NextTurn();
    EXPECT_EQ(written.Place().back(), value == 1 ? 0 : value - 1);
    read.NextTurn();
  }
  close(memory);
}

}  // namespace
