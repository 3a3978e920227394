#pragma once

#include "image/errors/kv_exception.h"

namespace kv_std {

/// Ends a call at the barrier. 12603: an exit was requested; 12607: a thread met an error.
class KV_IMAGE_API SpinBarrierException : public KVException {
 public:
  explicit SpinBarrierException(std::uint32_t code, const wchar_t* arg1 = nullptr,
                                const wchar_t* arg2 = nullptr, const wchar_t* arg3 = nullptr);
  SpinBarrierException(const SpinBarrierException&) = default;
  SpinBarrierException& operator=(const SpinBarrierException&) = default;
  ~SpinBarrierException() override;
};

}  // namespace kv_std

namespace kv_img {

/// Thrown by the algorithm manager: 1, no member implements the algorithm.
class KV_IMAGE_API AlgoException : public kv_std::KVException {
 public:
  explicit AlgoException(std::uint32_t code, const wchar_t* arg1 = nullptr, const wchar_t* arg2 = nullptr,
                         const wchar_t* arg3 = nullptr);
  AlgoException(const AlgoException&) = default;
  AlgoException& operator=(const AlgoException&) = default;
  ~AlgoException() override;
};

/// Thrown by regions of support: 4, a row's length does not suit the method.
class KV_IMAGE_API AlgoMotionException : public kv_std::KVException {
 public:
  explicit AlgoMotionException(std::uint32_t code, const wchar_t* arg1 = nullptr,
                               const wchar_t* arg2 = nullptr, const wchar_t* arg3 = nullptr);
  AlgoMotionException(const AlgoMotionException&) = default;
  AlgoMotionException& operator=(const AlgoMotionException&) = default;
  ~AlgoMotionException() override;
};

/// Thrown by the algorithms of every member. Codes: 1 image sizes, 2 region sizes, 3 out of memory,
/// 4 not implemented, 5 model not implemented, 6 colour model not supported.
class KV_IMAGE_API AlgoMMXException : public kv_std::KVException {
 public:
  explicit AlgoMMXException(std::uint32_t code, const wchar_t* arg1 = nullptr, const wchar_t* arg2 = nullptr);
  AlgoMMXException(const AlgoMMXException&) = default;
  AlgoMMXException& operator=(const AlgoMMXException&) = default;
  ~AlgoMMXException() override;
};

}  // namespace kv_img
