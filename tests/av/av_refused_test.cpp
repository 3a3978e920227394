// A file opens no other file and no address, whatever it holds or is called.

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <filesystem>

#include "tests/host/program.h"
#include "tests/support/temp_folder.h"

namespace {

using kv_test::Outcome;
using kv_test::ReadFile;
using kv_test::RunKv;
using kv_test::RunShell;
using kv_test::WriteFile;

/// Sees whoever opens a file.
class Watched {
 public:
  explicit Watched(const std::filesystem::path& file) : events_(inotify_init1(IN_NONBLOCK)) {
    EXPECT_GE(inotify_add_watch(events_, file.c_str(), IN_OPEN), 0);
  }
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;
  ~Watched() { close(events_); }

  bool WasOpened() const {
    std::array<char, 4096> bytes{};
    return read(events_, bytes.data(), bytes.size()) > 0;
  }

 private:
  int events_;
};

/// An address of this machine that sees whoever connects.
class Listener {
 public:
  Listener() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* any = reinterpret_cast<sockaddr*>(&address);
    EXPECT_EQ(bind(socket_, any, size), 0);
    EXPECT_EQ(listen(socket_, 4), 0);
    EXPECT_EQ(getsockname(socket_, any, &size), 0);
    address_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/neighbour.ts";
  }
  Listener(const Listener&) = delete;
  Listener& operator=(const Listener&) = delete;
  ~Listener() { close(socket_); }

  const std::string& Address() const { return address_; }
  bool WasCalled() const {
    const int caller = accept(socket_, nullptr, nullptr);
    if (caller >= 0) close(caller);
    return caller >= 0;
  }

 private:
  int socket_;
  std::string address_;
};

class AvRefused : public testing::Test {
 protected:
  void SetUp() override {
    const Outcome made = RunShell(temp_.Path(),
                                  "ffmpeg -v error -f lavfi -i testsrc2=size=64x48:rate=25 -frames:v 4 -c:v "
                                  "mpeg2video neighbour.ts </dev/null");
    ASSERT_EQ(made.status, 0) << made.err;
  }
  std::filesystem::path Neighbour() const { return temp_.Path() / "neighbour.ts"; }

  /// Both as a file and through a pipe.
  void ExpectNothingOpened(const std::string& bytes, const std::string& message) const {
    WriteFile(temp_.Path() / "list.mp4", bytes);
    const Watched watched(Neighbour());
    for (const char* command : {"\"$KV\" convert list.mp4 out.y4m", "\"$KV\" info list.mp4",
                                "cat list.mp4 | \"$KV\" convert - out.y4m"}) {
      const Outcome outcome = RunShell(temp_.Path(), command);
      EXPECT_EQ(outcome.status, 2) << bytes << command;
      EXPECT_EQ(outcome.ErrorLines(), 1) << outcome.err;
      EXPECT_NE(outcome.err.find(message), std::string::npos) << command << ": " << outcome.err;
    }
    EXPECT_FALSE(watched.WasOpened()) << bytes;
    EXPECT_FALSE(listener_.WasCalled()) << bytes;
    EXPECT_FALSE(std::filesystem::exists(temp_.Path() / "out.y4m"));
  }

  const kv_test::TempFolder temp_;
  const Listener listener_;
};

const std::string Refusal = " names other files or addresses, and is not read";

TEST_F(AvRefused, TheWatchesSeeWhoOpens) {
  // ffmpeg follows such a list.
  WriteFile(temp_.Path() / "list.mp4", "ffconcat version 1.0\nfile neighbour.ts\n");
  const Watched watched(Neighbour());
  EXPECT_EQ(RunShell(temp_.Path(), "ffmpeg -v error -y -i list.mp4 -f null - </dev/null").status, 0);
  EXPECT_TRUE(watched.WasOpened());
  RunShell(temp_.Path(), "timeout 2 ffmpeg -v error -rw_timeout 500000 -i " + listener_.Address() +
                             " -f null - </dev/null");
  EXPECT_TRUE(listener_.WasCalled());
}

TEST_F(AvRefused, ListsOfFiles) {
  ExpectNothingOpened("ffconcat version 1.0\nfile neighbour.ts\n", ": concat" + Refusal);
  ExpectNothingOpened("ffconcat version 1.0\nfile " + listener_.Address() + "\n", ": concat" + Refusal);
  ExpectNothingOpened("# VobSub index file, v7 (do not modify this line!)\nsize: 720x576\nid: en, index: 0\n",
                      ": vobsub" + Refusal);
  // Raw pictures of a camera, whose later parts are other files.
  std::string raw = "MLVI";
  raw += std::string("\x34\0\0\0", 4) + "v2.0" + std::string(150, '\0');
  ExpectNothingOpened(raw, ": mlv" + Refusal);
}

TEST_F(AvRefused, PlaylistsOfAddresses) {
  for (const std::string& goal :
       {std::string("neighbour.ts"), listener_.Address(), "file:" + Neighbour().string()}) {
    ExpectNothingOpened("#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\n" + goal + "\n#EXT-X-ENDLIST\n",
                        ": hls" + Refusal);
    ExpectNothingOpened(
        "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
        "mediaPresentationDuration=\"PT1S\" profiles=\"urn:mpeg:dash:profile:isoff-on-demand:2011\"><Period>"
        "<AdaptationSet mimeType=\"video/mp2t\"><Representation id=\"1\" bandwidth=\"1\"><BaseURL>" +
            goal + "</BaseURL></Representation></AdaptationSet></Period></MPD>\n",
        ": dash" + Refusal);
  }
  ExpectNothingOpened(
      "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 5004 RTP/AVP 33\n",
      ": sdp" + Refusal);
  ExpectNothingOpened("[Reference]\r\nRef1=" + listener_.Address() + "?MSWMExt=.asf\r\n",
                      ": the format is not known");
}

TEST_F(AvRefused, AListWithinAnArchive) {
  const std::string list = "#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\nneighbour.ts\n#EXT-X-ENDLIST\n";
  // Stored as it is.
  const std::string header("PK\3\4\x14\0\0\0\0\0\0\0\0\0\0\0\0\0", 18);
  const std::string size{static_cast<char>(list.size()), 0, 0, 0};
  ExpectNothingOpened(header + size + size + std::string("\x9\0\0\0", 4) + "list.m3u8" + list,
                      ": the format is not known");
}

/// A movie whose samples are those of its neighbour: the data reference "here" becomes an alias.
std::string WithAlias(std::string movie, const std::string& name) {
  const auto padded = [](std::string text, std::size_t size) {
    text.resize(size);
    return text;
  };
  const auto number = [](std::size_t value, int bytes) {
    std::string text;
    for (int i = bytes - 1; i >= 0; --i) text += static_cast<char>(value >> (8 * i));
    return text;
  };
  std::string alias = "alis" + padded("", 14) + '\3' + padded("vol", 27) + padded("", 12) +
                      number(name.size(), 1) + padded(name, 63) + padded("", 16) + number(1, 2) +
                      number(1, 2) + padded("", 16) + number(2, 2) + number(name.size() + 5, 2) + "vol:/" +
                      name + padded("", (name.size() + 5) % 2) + number(0xFFFF, 2) + number(0, 2);
  alias = number(alias.size() + 4, 4) + alias;
  const std::size_t at = movie.rfind(std::string("url \0\0\0\1", 8)) - 4;
  const std::size_t start = movie.rfind("moov");
  movie.replace(at, 12, alias);
  for (const char* parent : {"moov", "trak", "mdia", "minf", "dinf", "dref"}) {
    const std::size_t size = movie.find(parent, start) - 4;
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < 4; ++i) bytes = bytes << 8 | static_cast<unsigned char>(movie[size + i]);
    movie.replace(size, 4, number(bytes + alias.size() - 12, 4));
  }
  return movie;
}

TEST_F(AvRefused, AMovieWithSamplesElsewhere) {
  ASSERT_EQ(RunShell(temp_.Path(), "ffmpeg -v error -i neighbour.ts -c:v mpeg4 plain.mov </dev/null").status,
            0);
  const std::string plain = ReadFile(temp_.Path() / "plain.mov");
  EXPECT_EQ(RunKv(temp_.Path(), "convert plain.mov plain.y4m").status, 0);
  WriteFile(Neighbour(), plain);
  const std::string movie = WithAlias(plain, "neighbour.ts");
  WriteFile(temp_.Path() / "alias.mov", movie);
  {
    const Watched watched(Neighbour());
    RunShell(temp_.Path(), "ffmpeg -v error -enable_drefs 1 -i alias.mov -f null - </dev/null");
    EXPECT_TRUE(watched.WasOpened());
  }
  ExpectNothingOpened(movie, "the file holds no frame");
}

/// An element of Matroska of fewer than 127 bytes.
std::string Element(const std::string& id, const std::string& content) {
  return id + static_cast<char>(0x80 | content.size()) + content;
}

TEST_F(AvRefused, ASegmentThatGoesOnInAnotherFile) {
  // To a pipe, so that no element has to know how long the file is.
  const Outcome made = RunShell(temp_.Path(),
                                "for i in 1 2; do ffmpeg -v error -i neighbour.ts -c:v ffv1 -f matroska - "
                                "</dev/null >$i.mkv; done");
  ASSERT_EQ(made.status, 0) << made.err;
  const std::string uid(16, 'u');
  const std::string info = "\x15\x49\xA9\x66";
  const auto with = [&](const char* file, const std::string& elements) {
    std::string bytes = ReadFile(temp_.Path() / file);
    return bytes.insert(bytes.find(info), elements);
  };
  WriteFile(Neighbour(), with("1.mkv", Element(info, Element("\x73\xA4", uid))));
  const std::string linked =
      Element(info, Element("\x3E\xB9\x23", uid) + Element("\x3E\x83\xBB", "neighbour.ts"));
  // Played in the order of its chapters, of which the second is the neighbour's.
  const auto chapter = [](char start, const std::string& of) {
    return Element("\xB6", Element("\x73\xC4", {1, start}) + Element("\x91", {start}) +
                               Element("\x92", {static_cast<char>(start + 40)}) + of);
  };
  const std::string chapters =
      Element("\x10\x43\xA7\x70", Element("\x45\xB9", Element("\x45\xDD", "\1") + chapter(0, "") +
                                                          chapter(40, Element("\x6E\x67", uid))));
  WriteFile(temp_.Path() / "linked.mkv", with("2.mkv", linked + chapters));
  const Watched watched(Neighbour());
  ASSERT_EQ(RunKv(temp_.Path(), "convert linked.mkv linked.yuv422p").status, 0);
  ASSERT_EQ(RunKv(temp_.Path(), "convert 2.mkv plain.yuv422p").status, 0);
  EXPECT_TRUE(ReadFile(temp_.Path() / "linked.yuv422p") == ReadFile(temp_.Path() / "plain.yuv422p"));
  EXPECT_FALSE(watched.WasOpened());
  // The chapters are where a reader finds them.
  EXPECT_NE(RunShell(temp_.Path(), "ffprobe -v error -show_chapters linked.mkv").out.find("[CHAPTER]"),
            std::string::npos);
}

TEST_F(AvRefused, NamesAreFilesAndNoAddresses) {
  const Watched watched(Neighbour());
  for (const std::string& name :
       {std::string("concat:neighbour.ts"), std::string("file:neighbour.ts"),
        std::string("cache:neighbour.ts"), std::string("crypto:neighbour.ts"),
        std::string("async:neighbour.ts"), std::string("pipe:0"),
        std::string("subfile,,start,0,end,0,,:neighbour.ts"), std::string("data:video/mp2t;base64,Rw=="),
        std::string("neighbour.t%d"), listener_.Address(), "tcp" + listener_.Address().substr(4)}) {
    const Outcome outcome = RunKv(temp_.Path(), "convert '" + name + "' out.y4m");
    EXPECT_EQ(outcome.status, 2) << name;
    EXPECT_TRUE(outcome.err.starts_with("kv: " + name + ": ")) << outcome.err;
  }
  EXPECT_FALSE(watched.WasOpened());
  EXPECT_FALSE(listener_.WasCalled());
}

}  // namespace
