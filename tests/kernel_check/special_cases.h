#pragma once

#include <type_traits>
#include <vector>

#include "algorithms/box_filter/kernels/box_filter.h"
#include "algorithms/featurefind/kernels/bilinear_sad.h"
#include "algorithms/featurefind/kernels/block_sad.h"
#include "algorithms/featurefind/kernels/scores.h"
#include "tests/kernel_check/kernel_case.h"

namespace kv_check {

// Cases of kernels whose records are more than groups and streams.

/// Blocks that are wide, a group being some columns, and blocks that are tall, a group being a row.
void AddCases(std::type_identity<kv_img::featurefind::BlockSad> kernel, std::vector<KernelCase>& cases);
void AddCases(std::type_identity<kv_img::featurefind::Scores> kernel, std::vector<KernelCase>& cases);
void AddCases(std::type_identity<kv_img::featurefind::BilinearSad> kernel, std::vector<KernelCase>& cases);
/// A case per size of windows.
void AddCases(std::type_identity<kv_img::box_filter::SmallWindowMeans> kernel,
              std::vector<KernelCase>& cases);
void AddCases(std::type_identity<kv_img::box_filter::WindowMeans> kernel, std::vector<KernelCase>& cases);

}  // namespace kv_check
