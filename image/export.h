#pragma once

/// Marks what kv_Image offers to other modules.
#if defined(_WIN32)
#if defined(KV_IMAGE_BUILDING)
#define KV_IMAGE_API __declspec(dllexport)
#else
#define KV_IMAGE_API __declspec(dllimport)
#endif
#else
#define KV_IMAGE_API __attribute__((visibility("default")))
#endif
