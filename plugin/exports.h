#pragma once

#include <cstdint>

#include "frame/interfaces/algorithm_interface.h"

#if defined(_WIN32)
#define KV_PLUGIN_EXPORT __declspec(dllexport)
#else
#define KV_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

// The three functions that a member exports, and nothing else. All may be called from any thread at any time
// and throw nothing.
extern "C" {

/// The implementation of `name` (compared byte for byte) for `count` pixel classes, sources before
/// destinations; null when this member has none. The object lives until the member is unloaded; do not delete
/// it.
KV_PLUGIN_EXPORT kv_img::AlgorithmInterface* _LoadAlgorithm(const char* name, const int* pixelClassIds,
                                                            int count);

/// The bits of the processor's feature word (kv_platform::Processor: CPUID leaf 1, EDX, on x86-64) of which at
/// least one must be set.
KV_PLUGIN_EXPORT std::uint32_t getCPUFeature();

/// The member's rank: the highest that implements a request is taken.
KV_PLUGIN_EXPORT std::uint32_t getLibraryPriority();
}
