#pragma once

#include <stddef.h>
#include <stdint.h>

// The door between kv and its module kv_av: plain C, so that neither side needs the other's headers or runtime. Whoever
// opens a clip or creates a recording keeps it to one thread; nothing is thrown across.
extern "C" {

enum { KvAvVersion = 4, KvAvTextSize = 64, KvAvProblemSize = 256, KvAvMostStreams = 32, KvAvMostPlanes = 3 };

/// What frames are made of, as the raster kinds of kv.
enum KvAvKind { KvAvPacked, KvAvPackedAlpha, KvAvPlanar, KvAvBgr, KvAvBgra, KvAvGrey };

enum KvAvInterlace { KvAvFieldsUnknown, KvAvProgressive, KvAvTopFirst, KvAvBottomFirst };
enum KvAvRange { KvAvRangeUnknown, KvAvLimited, KvAvFull };
enum KvAvSite { KvAvSiteUnknown, KvAvLeft, KvAvCentre };
enum KvAvTransfer { KvAvTransferUnknown, KvAvPq, KvAvHlg };
enum KvAvMatrix { KvAvMatrixUnknown, KvAv601, KvAv709, KvAv2020 };
/// How the decoder's samples became the frame's.
enum KvAvPath { KvAvDirect, KvAvByRule, KvAvByLibrary };

/// Where the bytes come from.
struct KvAvInput {
  void* context;
  /// Fills `bytes`; answers how many there were, 0 at the end, below 0 when the system refuses.
  int (*read)(void* context, uint8_t* bytes, int count);
  int64_t size;       ///< Of a file; below 0 for a pipe, which is not sought in.
  int64_t* position;  ///< Where read() goes on, to be set; null for a pipe.
};

struct KvAvOptions {
  int32_t stream;   ///< Among the streams of the container, from 0; below 0 for the library's choice.
  int32_t threads;  ///< Of the decoder.
  int32_t dither;   ///< Samples of more than 8 bits are dithered, not rounded.
  int32_t skip;     ///< Damaged frames are left out, not reported.
  int64_t first;    ///< The first frame that is wanted.
  int64_t mostPixels;
  int64_t longestSide;
};

struct KvAvStream {
  char kind[16];  ///< "video", "audio", "subtitle", "data"
  char codec[KvAvTextSize];
};

/// What the container and its video stream declare.
struct KvAvInfo {
  char container[KvAvTextSize];
  char codec[KvAvTextSize];
  char pixels[KvAvTextSize];    ///< As the library names the decoder's pixels.
  char position[KvAvTextSize];  ///< Of chroma: "left", "center", "topleft", …, "unspecified".
  int32_t stream, streamCount;
  struct KvAvStream streams[KvAvMostStreams];
  int32_t width, height;
  int32_t interlace, range, matrix;
  int32_t rate[2], aspect[2];
  int32_t isVariable;  ///< The time between frames differs.
  int32_t rotation;    ///< Degrees clockwise that a player would turn the picture; it is not turned.
  int32_t hasAlpha, depth;
  int64_t frames;   ///< Below 0: the container does not tell.
  double duration;  ///< Seconds; below 0: not known.
};

/// One picture. The planes are the module's, until the next call.
struct KvAvFrame {
  int32_t kind, isChromaFirst, width, height, planes;
  int32_t interlace, range, matrix, site, transfer, path;
  int32_t rate[2], aspect[2];
  int64_t number;
  double time;  ///< Seconds; below 0: not known.
  const uint8_t* data[KvAvMostPlanes];
  ptrdiff_t stride[KvAvMostPlanes];
  int32_t rowBytes[KvAvMostPlanes];
};

enum KvAvResult { KvAvDone, KvAvEnd, KvAvDamaged, KvAvUnknownFormat, KvAvRefused, KvAvPassed };

struct KvAvClip;

/// Where the bytes of a recording go.
struct KvAvOutput {
  void* context;
  /// Takes all of them; below 0 when the system refuses.
  int (*write)(void* context, const uint8_t* bytes, int count);
  /// What is written next goes there, counted from the start; below 0 when the system refuses. Null for a pipe.
  int (*seek)(void* context, int64_t position);
};

/// What is to be recorded. Names are the library's.
struct KvAvTarget {
  const char* container;
  const char* encoder;
  const char* options;  ///< Of the encoder, name=value:name=value.
  const char* pixels;
  int32_t width, height, threads;
  int32_t interlace, range, matrix, site, transfer;
  int32_t rate[2], aspect[2];  ///< The rate is known.
  int32_t isVariable;          ///< Each frame has a time of its own; the rate is the mean.
};

struct KvAvRecording;

struct KvAvDoor {
  int32_t version;
  /// Finds out what the bytes are. On failure `clip` is null and `problem` says why.
  int (*open)(const struct KvAvInput* input, const struct KvAvOptions* options, struct KvAvClip** clip,
              char* problem);
  void (*info)(struct KvAvClip* clip, struct KvAvInfo* info);
  /// The next frame: KvAvDone; KvAvPassed for one before the first that is wanted, which has only its number; KvAvEnd after the last; KvAvDamaged for one that cannot be decoded, whose number and time
  /// the frame then has.
  int (*next)(struct KvAvClip* clip, struct KvAvFrame* frame, char* problem);
  void (*close)(struct KvAvClip* clip);

  /// Begins a recording. On failure `recording` is null and `problem` says why.
  int (*create)(const struct KvAvOutput* output, const struct KvAvTarget* target,
                struct KvAvRecording** recording, char* problem);
  /// A frame: its planes, without gaps. `time` is in seconds; one that is not after the last frame's begins another part; below 0: not known.
  int (*add)(struct KvAvRecording* recording, const uint8_t* bytes, size_t count, double time, char* problem);
  /// Ends what was begun; then the bytes are all written.
  int (*finish)(struct KvAvRecording* recording, char* problem);
  void (*release)(struct KvAvRecording* recording);
};

/// The one function that the module exports.
const struct KvAvDoor* kv_av_door(void);
typedef const struct KvAvDoor* (*KvAvDoorFunction)(void);
}
