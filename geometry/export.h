#pragma once

/// Marks what kv_Math offers to other modules.
#if defined(_WIN32)
#if defined(KV_MATH_BUILDING)
#define KV_MATH_API __declspec(dllexport)
#else
#define KV_MATH_API __declspec(dllimport)
#endif
#else
#define KV_MATH_API __attribute__((visibility("default")))
#endif
