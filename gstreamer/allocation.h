#pragma once

#include <gst/video/video.h>

namespace kv_gst {

/// Asks for rows and memory on 64-byte boundaries, with 64 bytes of padding.
void AskForPadding(GstQuery* query);
/// The pool for the buffers of `caps` that an element pushes: the one that downstream proposed, or one of its own, with
/// GstVideoMeta and rows on 64-byte boundaries where downstream takes those. False: nothing could be configured.
bool DecidePool(GstQuery* query);

}  // namespace kv_gst
