#pragma once

#include <cstdint>
#include <string>

#include "tests/kernel_check/kernel_case.h"

namespace kv_check {

/// Compares one variant with the reference over random records: group counts from 0 to beyond two wide steps,
/// every offset 0 to 63 of every pointer, extreme patterns beside random bytes, guard bytes around every
/// stream, and streams that end at a protected page. Returns what was wrong, with all that repeats it; empty
/// when nothing was.
std::string Check(const KernelCase& kernel, const Variant& variant, std::uint64_t seed, int rounds);

/// Name of what is being run, for the report of a crash.
const char* CurrentKernel();

}  // namespace kv_check
