#pragma once

/// The members that are built for this architecture, by the part that they play in tests.
namespace kv_test {

#if defined(__aarch64__)
/// The one with the wide kernels, which outranks all others.
inline constexpr const char* wideMember = "kv_algoNEON";
inline constexpr const wchar_t* wideSuffix = L"NEON";
/// One that offers the 22 common combinations and not every other.
inline constexpr const char* commonMember = wideMember;
inline constexpr const wchar_t* wideCommonMember = L"kv_algoNEON";
/// The name that a member goes by that is wrong on purpose; programs probe it.
inline constexpr const char* hostileMember = wideMember;
#else
inline constexpr const char* wideMember = "kv_algoSSE2";
inline constexpr const wchar_t* wideSuffix = L"SSE2";
inline constexpr const char* commonMember = "kv_algoMMX";
inline constexpr const wchar_t* wideCommonMember = L"kv_algoMMX";
/// The name that a member goes by that is wrong on purpose; programs probe it.
inline constexpr const char* hostileMember = "kv_algoSSE";
#endif

}  // namespace kv_test
