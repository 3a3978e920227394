#include "gstreamer/allocation.h"

#include <gst/video/gstvideopool.h>

#include <algorithm>

namespace kv_gst {
namespace {

constexpr gsize padding = 64;

void RaiseToPadding(GstAllocationParams& params) {
  params.align |= padding - 1;
  params.padding = std::max(params.padding, padding);
}

/// Configures the pool; false when it has changed the configuration into one that will not do.
bool Configure(GstBufferPool* pool, GstCaps* caps, guint size, guint least, guint most,
               GstAllocator* allocator, const GstAllocationParams& params, bool takesVideoMeta) {
  GstStructure* config = gst_buffer_pool_get_config(pool);
  gst_buffer_pool_config_set_params(config, caps, size, least, most);
  gst_buffer_pool_config_set_allocator(config, allocator, &params);
  if (takesVideoMeta && gst_buffer_pool_has_option(pool, GST_BUFFER_POOL_OPTION_VIDEO_META)) {
    gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_META);
    if (gst_buffer_pool_has_option(pool, GST_BUFFER_POOL_OPTION_VIDEO_ALIGNMENT)) {
      GstVideoAlignment alignment;
      gst_video_alignment_reset(&alignment);
      for (guint& align : alignment.stride_align) align = padding - 1;
      gst_buffer_pool_config_add_option(config, GST_BUFFER_POOL_OPTION_VIDEO_ALIGNMENT);
      gst_buffer_pool_config_set_video_alignment(config, &alignment);
    }
  }
  if (gst_buffer_pool_set_config(pool, config) != FALSE) return true;
  config = gst_buffer_pool_get_config(pool);
  if (gst_buffer_pool_config_validate_params(config, caps, size, least, most) == FALSE) {
    gst_structure_free(config);
    return false;
  }
  return gst_buffer_pool_set_config(pool, config) != FALSE;
}

}  // namespace

void AskForPadding(GstQuery* query) {
  GstAllocationParams params;
  gst_allocation_params_init(&params);
  RaiseToPadding(params);
  gst_query_add_allocation_param(query, nullptr, &params);
}

bool DecidePool(GstQuery* query) {
  GstCaps* caps = nullptr;
  gst_query_parse_allocation(query, &caps, nullptr);
  GstVideoInfo info;
  if (caps == nullptr || gst_video_info_from_caps(&info, caps) == FALSE) return false;

  GstAllocator* allocator = nullptr;
  GstAllocationParams params;
  gst_allocation_params_init(&params);
  const bool hasParams = gst_query_get_n_allocation_params(query) > 0;
  if (hasParams) gst_query_parse_nth_allocation_param(query, 0, &allocator, &params);
  RaiseToPadding(params);
  if (hasParams) {
    gst_query_set_nth_allocation_param(query, 0, allocator, &params);
  } else {
    gst_query_add_allocation_param(query, allocator, &params);
  }

  GstBufferPool* pool = nullptr;
  guint size = 0;
  guint least = 0;
  guint most = 0;
  const bool hasPool = gst_query_get_n_allocation_pools(query) > 0;
  if (hasPool) gst_query_parse_nth_allocation_pool(query, 0, &pool, &size, &least, &most);
  size = std::max(size, static_cast<guint>(GST_VIDEO_INFO_SIZE(&info)));
  const bool takesVideoMeta =
      gst_query_find_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr) != FALSE;
  bool isDone =
      pool != nullptr && Configure(pool, caps, size, least, most, allocator, params, takesVideoMeta);
  if (!isDone) {
    gst_clear_object(&pool);
    pool = gst_video_buffer_pool_new();
    isDone = Configure(pool, caps, size, least, most, allocator, params, takesVideoMeta);
  }
  if (isDone && hasPool) {
    gst_query_set_nth_allocation_pool(query, 0, pool, size, least, most);
  } else if (isDone) {
    gst_query_add_allocation_pool(query, pool, size, least, most);
  }
  gst_clear_object(&pool);
  gst_clear_object(&allocator);
  return isDone;
}

}  // namespace kv_gst
