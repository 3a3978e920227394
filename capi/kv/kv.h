/*
 * kv.h: the C interface of the kv_algo family of image-processing plug-ins.
 *
 * Every function answers a kv_status; 0 is success. The text of a failure is kv_last_error(), one for each thread.
 * Nothing is thrown, printed or aborted. Arguments are checked before a byte is written.
 *
 * Frames are views: the caller's planes with the caller's strides, positive or negative, of any alignment. No byte
 * outside the rows of a frame is read or written, and nothing of the padding between them.
 *
 * Structs start with `struct_size`, which the init function sets; reserved fields stay 0. A struct of another size
 * is refused.
 */
#ifndef KV_KV_H
#define KV_KV_H

#include <stddef.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(KV_C_BUILDING)
#define KV_API __declspec(dllexport)
#else
#define KV_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define KV_API __attribute__((visibility("default")))
#else
#define KV_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** What a function answers. */
typedef int32_t kv_status;
enum {
  KV_OK = 0,
  KV_BAD_ARGUMENT = 1,  /**< null, out of range, not a number, misaligned, overlapping */
  KV_UNSUPPORTED = 2,   /**< a format, or a pair of formats, that the function does not take */
  KV_SIZE_MISMATCH = 3, /**< frames or regions whose sizes do not fit each other */
  KV_OUT_OF_MEMORY = 4,
  KV_STOPPED = 5,   /**< by kv_stop or by the poll function; the destination holds part of the result */
  KV_NO_MEMBER = 6, /**< no member of the family that is installed offers it */
  KV_INTERNAL = 7
};

/** The full text of this thread's last failure: which argument, its value, what would be right. Empty before the
 * first. The text stays until this thread's next failure. */
KV_API const char* kv_last_error(void);

/** 1. Programs compiled for one number run with every library that answers the same. */
KV_API int32_t kv_abi_version(void);
/** The library's version, such as "0.2.0". */
KV_API const char* kv_version_string(void);

/* ---- Frames ---------------------------------------------------------------------------------------------------- */

/** Pixel formats. Packed 4:2:2 rows are 4 * ((width + 1) / 2) bytes: the last pair of an odd width is whole. */
enum {
  KV_FORMAT_UYVY = 1,    /**< packed 4:2:2, Cb Y0 Cr Y1 */
  KV_FORMAT_YUY2 = 2,    /**< packed 4:2:2, Y0 Cb Y1 Cr */
  KV_FORMAT_UYVYA = 3,   /**< plane 0 as UYVY; plane 1 alpha, a byte for each pixel */
  KV_FORMAT_YUY2A = 4,   /**< plane 0 as YUY2; plane 1 alpha */
  KV_FORMAT_YUV411P = 5, /**< luma, Cb, Cr planes; a chroma sample for two pixels of a row: the family's name */
  KV_FORMAT_I422 = 6,    /**< the same memory under its usual name; kv_copy does not take it */
  KV_FORMAT_GRAY8 = 7,   /**< one byte for each pixel */
  KV_FORMAT_BGR24 = 8,
  KV_FORMAT_RGB24 = 9,
  KV_FORMAT_BGRA32 = 10,
  KV_FORMAT_RGBA32 = 11,
  KV_FORMAT_BGRX32 = 12, /**< the fourth byte is not read; written, it is 255 */
  KV_FORMAT_RGBX32 = 13,
  KV_FORMAT_RGB555 = 14, /**< 15-bit bitmap: little-endian words, bit 15 zero, five bits of red, green, blue */
  KV_FORMAT_RGB565 = 15  /**< 16-bit bitmap: little-endian words, five bits of red, six of green, five of blue */
};

enum { KV_FIELDS_PROGRESSIVE = 0, KV_FIELDS_TOP_FIRST = 1, KV_FIELDS_BOTTOM_FIRST = 2 };
enum { KV_MATRIX_DEFAULT = 0, KV_MATRIX_BT601 = 1, KV_MATRIX_BT709 = 2, KV_MATRIX_BT2020 = 3 };
enum { KV_RANGE_DEFAULT = 0, KV_RANGE_LIMITED = 1, KV_RANGE_FULL = 2 };
enum { KV_CHROMA_DEFAULT = 0, KV_CHROMA_LEFT = 1, KV_CHROMA_CENTRE = 2 };

/** A view of a picture. Row y of plane p starts at planes[p] + y * strides[p]; planes[p] is the top row's first
 * byte, also when the stride is negative (bottom-up). Widths and heights are 1 to 1048576. */
typedef struct kv_frame {
  uint32_t struct_size;
  int32_t format; /**< KV_FORMAT_… */
  int32_t width;  /**< pixels */
  int32_t height; /**< rows */
  uint8_t* planes[4];
  int64_t strides[4];  /**< bytes */
  int32_t field_order; /**< KV_FIELDS_… */
  /** 0 or 1: the parity of the field that the first row belongs to. Copies between frames of different parity move
   * the picture by a row. */
  int32_t row_parity;
  int32_t matrix;  /**< KV_MATRIX_…; default: BT.601 up to 576 rows, BT.709 above */
  int32_t range;   /**< KV_RANGE_… of YUV; default: limited. Bitmaps and grey frames are always full range. */
  int32_t chroma;  /**< KV_CHROMA_…; default: left */
  int32_t reserved[5];
  void* memory; /**< what kv_frame_alloc allocated; otherwise null */
} kv_frame;

/** Empty, with every default. Does nothing for null. */
KV_API void kv_frame_init(kv_frame* frame);
/** Gives a frame, whose format, width and height are set and whose planes are null, memory of its own: zeros, rows
 * on 64-byte boundaries, at most 2^38 bytes. */
KV_API kv_status kv_frame_alloc(kv_frame* frame);
/** Frees what kv_frame_alloc allocated and forgets planes and strides. Does nothing for null or for a frame
 * without such memory. */
KV_API void kv_frame_free(kv_frame* frame);
/** Planes of a format, and the bytes that a row of plane `plane` must have for `width` pixels. */
KV_API kv_status kv_format_planes(int32_t format, int32_t* planes);
KV_API kv_status kv_format_row_bytes(int32_t format, int32_t plane, int32_t width, int64_t* bytes);

/* ---- Contexts -------------------------------------------------------------------------------------------------- */

/** Threads, choice of members and kept memory. A context may be used by several threads at once; each call has its
 * own frames. It may not be freed while a call runs in it. */
typedef struct kv_context kv_context;

/** One task of a call. Never throws; any task may run on any thread. */
typedef void (*kv_task)(void* data, int32_t index);
/** Runs task(data, 0) to task(data, count - 1) on the host's own threads and returns 0 when all have returned. No
 * task waits for another: they may run one after another. What tasks that are not run would have done is done all
 * the same, at last by the calling thread; when the answer is not 0 the call ends with KV_INTERNAL. It is called several times
 * in a call with a poll function: tasks then return after some 5 ms. */
typedef int32_t (*kv_executor)(void* user, int32_t count, kv_task task, void* data);

typedef struct kv_context_options {
  uint32_t struct_size;
  /** Threads of a call, 1 to 256, the caller's among them; 0: as many as the machine runs at once. Default 1. The
   * bytes are the same for every number. */
  int32_t threads;
  const char* member; /**< the one member to use, such as "kv_algoC"; null: the best that can do a thing */
  kv_executor run;         /**< the host's threads; null: the context's own */
  void* run_user;
  int64_t reserved[4];
} kv_context_options;

KV_API void kv_context_options_init(kv_context_options* options);
/** `options` may be null. KV_NO_MEMBER when there is no usable member of that name. */
KV_API kv_status kv_context_new(const kv_context_options* options, kv_context** context);
/** Does nothing for null. */
KV_API void kv_context_free(kv_context* context);
/** Ends the calls that run in the context, from any thread and from signal handlers; they answer KV_STOPPED.
 * Later calls start afresh. */
KV_API kv_status kv_stop(kv_context* context);

/** Looked at between slices of a call, on the caller's thread; not 0: the call ends with KV_STOPPED. */
typedef int32_t (*kv_poll)(void* user);

/** What every call takes; null: all defaults. */
typedef struct kv_call {
  uint32_t struct_size;
  int32_t threads;    /**< 0: as the context; otherwise at most so many, 1 to 256 */
  const char* member; /**< null: as the context */
  kv_poll poll;       /**< null: none */
  void* poll_user;
  int64_t reserved[4];
} kv_call;
KV_API void kv_call_init(kv_call* call);

/** A member of the family and what was found of it. */
typedef struct kv_member {
  uint32_t struct_size;
  int32_t is_usable;
  uint32_t priority; /**< the usable member with the highest is asked first */
  char name[28];
  char level[32];  /**< what it runs on here, such as "avx2"; empty where it has one level only */
  char reason[160]; /**< why it is not usable; otherwise empty */
} kv_member;

/** Fills at most `capacity` entries, whose struct_size is set, and answers how many members there are. `members` may
 * be null when `capacity` is 0. */
KV_API kv_status kv_members(kv_member* members, size_t capacity, size_t* count);

/* ---- Regions --------------------------------------------------------------------------------------------------- */

/** Pixels to work on: one run of columns for each row. Functions take null for the whole frame. Regions do not
 * change; any number of calls may use one at the same time. */
typedef struct kv_region kv_region;

KV_API kv_status kv_region_rectangle(int32_t left, int32_t top, int32_t width, int32_t height, kv_region** region);
/** Row top + i has the pixels firsts[i] to lasts[i], none where lasts[i] is firsts[i] - 1. */
KV_API kv_status kv_region_runs(int32_t top, int32_t rows, const int32_t* firsts, const int32_t* lasts,
                                kv_region** region);
/** The pixels whose centres (x + 0.5, y + 0.5) are inside the polygon (even-odd; a centre on a left or top edge is
 * inside). `points` are `count` pairs of x and y, 3 to 1000000. A polygon with two runs in a row is refused. */
KV_API kv_status kv_region_polygon(const double* points, size_t count, kv_region** region);
KV_API void kv_region_free(kv_region* region);

/* ---- Operations ------------------------------------------------------------------------------------------------
 *
 * All take a context, the sources, the destination and, last, a kv_call or null. Frames must not overlap, except
 * where a function lists an in-place use. Pixels outside a region stay as they were. `row_parity` and `field_order`
 * of a frame count where a function says so.
 */

enum { KV_RESAMPLE_LINEAR = 0, KV_RESAMPLE_NEAREST = 1 };
typedef struct kv_convert_options {
  uint32_t struct_size;
  int32_t resample; /**< KV_RESAMPLE_…: how chroma moves between the positions of samples and of pixels */
  int64_t reserved[4];
} kv_convert_options;
KV_API void kv_convert_options_init(kv_convert_options* options);

/** Any format into any other of the same size, by the matrices, ranges and chroma positions of the two frames; every
 * pixel of any width is written. `options` may be null. Between two YUV formats of equal colours samples are copied.
 * Alpha that the source lacks is 255. Grey is full range.
 *
 * Copied through a few rows of scratch: planar YUV and words of 15 and 16 bits on the way to or from the other
 * language. Everything else is read and written where it is. */
KV_API kv_status kv_convert(kv_context* context, const kv_frame* source, kv_frame* destination,
                            const kv_convert_options* options, const kv_call* call);

/** The family's exact copies, with their unwritten last pixels and their own rounding: the pairs of UYVY, YUY2,
 * UYVYA, YUY2A, YUV411P, GRAY8, BGR24, BGRA32, RGB555 and RGB565 that an installed member offers. Frames of different
 * row_parity: the picture moves by a row. YUV411P narrower than eight pixels goes through scratch. */
KV_API kv_status kv_copy(kv_context* context, const kv_frame* source, kv_frame* destination, const kv_call* call);

/** The pixels of a region into an equally shaped region of the destination. From packed 4:2:2 or YUV411P to packed
 * 4:2:2. YUV411P goes through scratch; what its rule would take from after the source's row is not written. */
KV_API kv_status kv_copy_region(kv_context* context, const kv_frame* source, const kv_region* source_region,
                                kv_frame* destination, const kv_region* destination_region, const kv_call* call);

/** |Y1 - Y2| of two packed 4:2:2 frames of one format into GRAY8. */
KV_API kv_status kv_difference(kv_context* context, const kv_frame* first, const kv_frame* second,
                               kv_frame* destination, const kv_region* region, const kv_call* call);

/** How the luma of two frames differs. */
typedef struct kv_stats {
  uint32_t struct_size;
  int32_t maximum;  /**< the largest absolute difference, 0 to 255 */
  int64_t samples;  /**< pixels that were compared */
  double mean;      /**< of the absolute differences */
  double psnr;      /**< decibels, of 255; infinite where nothing differs */
  double share;     /**< of pixels that differ by more than the threshold, 0 to 1 */
  int64_t reserved[4];
} kv_stats;
KV_API void kv_stats_init(kv_stats* stats);

/** Compares the luma of two frames of one format: UYVY, YUY2, YUV411P, I422 or GRAY8. `threshold` is 0 to 255. */
KV_API kv_status kv_difference_stats(kv_context* context, const kv_frame* first, const kv_frame* second,
                                     const kv_region* region, int32_t threshold, kv_stats* stats,
                                     const kv_call* call);

/** Two GRAY8 frames, each valid inside its region: their mean where both are, a copy of the one that is, else 0.
 * `region` is what is written. */
KV_API kv_status kv_average(kv_context* context, const kv_frame* first, const kv_region* first_region,
                            const kv_frame* second, const kv_region* second_region, kv_frame* destination,
                            const kv_region* region, const kv_call* call);

/** Mean over a window of `window` x `window` pixels, 1 to 255, of GRAY8. */
KV_API kv_status kv_box_filter(kv_context* context, const kv_frame* source, kv_frame* destination,
                               const kv_region* region, int32_t window, const kv_call* call);

/** Two packed 4:2:2 frames of one format under a GRAY8 mask: `foreground` where it is 255, `background` where it is 0 and
 * their luma is equal. The weight rises where the background is brighter. Every run is a multiple of four pixels. In
 * place: the destination may be either of them. */
KV_API kv_status kv_blend(kv_context* context, const kv_frame* foreground, const kv_frame* background,
                          const kv_frame* mask, kv_frame* destination, const kv_region* region, const kv_call* call);

/** A GRAY8 mask, 255 where two packed 4:2:2 frames have the same colour, smoothed by a window of 1 to 255. The mask
 * before smoothing is kept in the context. */
KV_API kv_status kv_alpha_from_color(kv_context* context, const kv_frame* first, const kv_frame* second,
                                     kv_frame* destination, const kv_region* region, int32_t window,
                                     const kv_call* call);

/** (first - second) * gain + 128 of GRAY8 frames, 0 to 255, smoothed by a window of 1 to 255. `gain` 0 to 65536. In
 * place: the destination may be either source. */
KV_API kv_status kv_alpha_from_difference(kv_context* context, const kv_frame* first, const kv_frame* second,
                                          kv_frame* destination, const kv_region* region, int32_t gain,
                                          int32_t window, const kv_call* call);

/** How the levels of a mask are spread. Level v becomes t = (v - low) / (high - low), at least 0 and at most 1, inverted
 * 1 - t, and then 255 * t^(1 / gamma), halves up. */
typedef struct kv_levels_options {
  uint32_t struct_size;
  int32_t low;         /**< 0 to 254; default 0 */
  int32_t high;        /**< low + 1 to 255; default 255 */
  int32_t is_inverted; /**< 0 or 1; default 0 */
  double gamma;        /**< 0.1 to 10; above 1 the levels in between become brighter; default 1 */
  int64_t reserved[4];
} kv_levels_options;
KV_API void kv_levels_options_init(kv_levels_options* options);

/** A GRAY8 mask with its levels spread. `options` may be null. The mask of kv_alpha_from_color keys with low 130, high
 * 255, inverted: 255 where the colours differ. In place: the destination may be the source. */
KV_API kv_status kv_mask_levels(kv_context* context, const kv_frame* source, kv_frame* destination,
                                const kv_region* region, const kv_levels_options* options, const kv_call* call);

/** Two frames of one format, UYVY, YUY2, YUV411P or I422, under a GRAY8 mask m:
 * (foreground * m + background * (255 - m) + 127) / 255, chroma by the mean of its pair's m, halves up. Unlike
 * kv_blend's, the weight is the mask alone. Runs of a region are whole pairs, or end with the row. In place: the
 * destination may be either of them. */
KV_API kv_status kv_composite(kv_context* context, const kv_frame* foreground, const kv_frame* background,
                              const kv_frame* mask, kv_frame* destination, const kv_region* region,
                              const kv_call* call);

enum {
  KV_PARITY_BLEND = 0, /**< the mean of neighbouring lines: half a line, packed 4:2:2 */
  KV_PARITY_LINE = 1,  /**< a line down (to bottom first) or up; nothing is interpolated; any format */
  KV_PARITY_FIELD = 2  /**< every line from its two neighbours, of the other field; any format */
};
/** A frame of the other field parity, by a KV_PARITY_…. Sets the destination's field_order to the opposite of the
 * source's (progressive counts as top first). KV_PARITY_BLEND takes a region, which must be a rectangle: single pixels
 * at its ends are then written too; without, the last width mod 4 pixels of averaged lines stay. The other methods take
 * whole frames of one format. */
KV_API kv_status kv_change_parity(kv_context* context, const kv_frame* source, kv_frame* destination,
                                  const kv_region* region, int32_t method, const kv_call* call);

enum { KV_PAN_RIGHT = 1, KV_PAN_LEFT = 2, KV_PAN_DOWN = 4, KV_PAN_UP = 8 };
typedef struct kv_pan_options {
  uint32_t struct_size;
  int32_t direction;  /**< KV_PAN_…: where the viewport moves; default right */
  int32_t steps;      /**< frames of the pan, at least 1; default 1 */
  int32_t step;       /**< this frame, 0 to steps - 1 */
  int32_t half_line;  /**< 1: this frame is half a line further down, as for the other field; default 0 */
  int32_t reserved32;
  int64_t reserved[4];
} kv_pan_options;
KV_API void kv_pan_options_init(kv_pan_options* options);

/** One frame of a pan: the destination's region from a viewport that moves across the source's, in packed 4:2:2 of
 * one format. Both regions are rectangles; to the sides they are equally high, up and down equally wide. The
 * destination's region is inside the source frame, too. Rows at the right border of the source go through scratch. */
KV_API kv_status kv_pan(kv_context* context, const kv_frame* source, const kv_region* source_region,
                        kv_frame* destination, const kv_region* destination_region, const kv_pan_options* options,
                        const kv_call* call);

/** Where scores go, if anywhere: one double for each tested position, row after row. */
typedef struct kv_score_map {
  uint32_t struct_size;
  uint32_t reserved32;
  double* scores;  /**< the caller's, `capacity` doubles */
  size_t capacity;
  size_t columns; /**< answered: positions side by side */
  size_t rows;    /**< answered */
  double left;    /**< answered: the first position, in pixels of the searched frame */
  double top;
  double step_x; /**< answered: 1 on whole pixels */
  double step_y;
  int64_t reserved[4];
} kv_score_map;
KV_API void kv_score_map_init(kv_score_map* map);

/** A template, the pixels up to half_width and half_height around (x, y) of the reference, and where to look. */
typedef struct kv_find_options {
  uint32_t struct_size;
  uint32_t reserved32;
  double x; /**< the feature in the reference; kv_find: whole numbers */
  double y;
  double around_x; /**< centre of the search in the searched frame; kv_find: whole numbers */
  double around_y;
  int32_t half_width; /**< 0 to 1048576; default 8 */
  int32_t half_height;
  double range_x; /**< pixels to every side, 0 to 1048576; default 16 */
  double range_y;
  double step_x; /**< kv_find_subpixel: above 0, at most 1; default 0.5 */
  double step_y;
  int32_t levels; /**< kv_find_subpixel: 1 to 16; each halves range and step */
  int32_t reserved32b;
  kv_score_map* map; /**< null: no map. Scores are mean absolute differences, 0 to 255; of the first level. */
  int64_t reserved[4];
} kv_find_options;
KV_API void kv_find_options_init(kv_find_options* options);

typedef struct kv_match {
  uint32_t struct_size;
  int32_t is_found; /**< 0: the range holds no position */
  double x;         /**< the feature in the searched frame */
  double y;
  double score; /**< mean absolute difference at the match on whole pixels; kv_find_subpixel: of its first level */
  int64_t reserved[2];
} kv_match;
KV_API void kv_match_init(kv_match* match);

/** The best match on whole pixels by luma (packed 4:2:2) or green (BGR24, BGRA32, BGRX32), first in reading order of
 * equal ones. Reference and searched frame have one format. KV_SIZE_MISMATCH when the searched frame is not at least
 * two pixels wider and higher than the template. */
KV_API kv_status kv_find(kv_context* context, const kv_frame* reference, const kv_frame* searched,
                         const kv_find_options* options, kv_match* match, const kv_call* call);
/** The best match between pixels, from coarse to fine. Steps that are not a power of two are searched by one thread in
 * one slice. */
KV_API kv_status kv_find_subpixel(kv_context* context, const kv_frame* reference, const kv_frame* searched,
                                  const kv_find_options* options, kv_match* match, const kv_call* call);

/** Points that are followed through the frames of a clip. One call at a time may use a track. */
typedef struct kv_track kv_track;

enum {
  KV_TRACK_NEVER = 0,   /**< the template stays that of the first frame */
  KV_TRACK_EVERY = 1,   /**< it is taken anew after every update_frames frames: such points drift */
  KV_TRACK_ON_SCORE = 2 /**< it is taken anew after a match whose score is above update_score */
};
typedef struct kv_track_options {
  uint32_t struct_size;
  int32_t half_width; /**< of the template around a point, 0 to 1048576; default 16 */
  int32_t half_height;
  int32_t range_x; /**< pixels to every side of where the last motion leads, 0 to 1048576; default 16 */
  int32_t range_y;
  int32_t levels;        /**< between pixels, of steps 1/2, 1/4, 1/8, …; 0 to 8, 0: whole pixels; default 3 */
  int32_t update;        /**< KV_TRACK_…: when templates are taken anew; default never */
  int32_t update_frames; /**< at least 1; default 1 */
  double update_score;   /**< 0 to 255; default 0 */
  double max_score;      /**< a point whose match is worse is lost; 0 to 255, the default: never */
  int64_t reserved[4];
} kv_track_options;
KV_API void kv_track_options_init(kv_track_options* options);

/** `points` are `count` pairs of x and y in the first frame, 1 to 1000000; parts of a pixel are kept. `options` may be
 * null. */
KV_API kv_status kv_track_new(const double* points, size_t count, const kv_track_options* options,
                              kv_track** track);
/** Does nothing for null. */
KV_API void kv_track_free(kv_track* track);
/** The clip's next frame: where each point is in it, in the order of the points; `count` is theirs. The first frame is
 * where the templates come from: its points are where they were said to be, with score 0. Frames of one format and
 * size, compared by luma (packed 4:2:2) or green (BGR24 and so on); of frames with a field_order the lines of the field
 * that is first in time are searched, template and range half as high. The caller may reuse a frame's memory at once.
 *
 * A point that is not found has is_found 0, x and y of where it last was, and is sought again around there. The
 * score is the mean absolute difference at the place found. A call that fails or is stopped leaves the track as it was.
 * KV_SIZE_MISMATCH when the first frame, or field, is not at least three pixels wider and higher than each template. */
KV_API kv_status kv_track_next(kv_context* context, kv_track* track, const kv_frame* frame, kv_match* matches,
                               size_t count, const kv_call* call);

/** Clips a polygon to the rectangle left, top to right, bottom. The pieces' vertices, pairs of x and y, go one after
 * another into `vertices` (`capacity` pairs), each piece's count of vertices into `pieces` (`piece_capacity`). Both
 * counts are answered also when they are above a capacity, with KV_SIZE_MISMATCH; nothing is then written. */
KV_API kv_status kv_clip_polygon(const double* points, size_t count, double left, double top, double right,
                                 double bottom, double* vertices, size_t capacity, size_t* vertex_count,
                                 size_t* pieces, size_t piece_capacity, size_t* piece_count);

/*
 * Later versions of the library add functions, without changing what is here. Structs keep their sizes; new fields take
 * the place of reserved ones, whose 0 stays the default.
 */

#ifdef __cplusplus
}
#endif

#endif
