#include <orc/orc.h>

#include "bench/contest.h"

namespace kv_bench {
namespace {

/// A program of one instruction over bytes or words, compiled for this processor; null when it cannot be.
OrcProgram* Compile(const char* opcode, int elementBytes, int sources) {
  orc_init();
  OrcProgram* program = orc_program_new();
  orc_program_set_2d(program);
  orc_program_add_destination(program, elementBytes, "d1");
  orc_program_add_source(program, elementBytes, "s1");
  if (sources == 2) {
    orc_program_add_source(program, elementBytes, "s2");
    orc_program_append_str(program, opcode, "d1", "s1", "s2");
  } else {
    orc_program_append_str(program, opcode, "d1", "s1", nullptr);
  }
  if (ORC_COMPILE_RESULT_IS_SUCCESSFUL(orc_program_compile(program))) return program;
  orc_program_free(program);
  return nullptr;
}

struct Plane {
  std::uint8_t* start;
  int stride;
};

void Run(OrcProgram* program, int columns, int rows, Plane to, Plane first, Plane second) {
  OrcExecutor executor{};
  orc_executor_set_program(&executor, program);
  orc_executor_set_n(&executor, columns);
  orc_executor_set_m(&executor, rows);
  orc_executor_set_array(&executor, ORC_VAR_D1, to.start);
  orc_executor_set_stride(&executor, ORC_VAR_D1, to.stride);
  orc_executor_set_array(&executor, ORC_VAR_S1, first.start);
  orc_executor_set_stride(&executor, ORC_VAR_S1, first.stride);
  if (second.start != nullptr) {
    orc_executor_set_array(&executor, ORC_VAR_S2, second.start);
    orc_executor_set_stride(&executor, ORC_VAR_S2, second.stride);
  }
  orc_executor_run(&executor);
}

template <class ImageType>
Plane PlaneOf(ImageType& image) {
  return {Start(image), Stride(image)};
}

}  // namespace

void EnterOrc(Contest& contest) {
  if (OrcProgram* swap = Compile("swapw", 2, 1); swap != nullptr) {
    contest.Enter("Copy YUV422, bytes swapped", "ORC", [swap](Scene& scene) {
      Run(swap, scene.width, scene.height, PlaneOf(scene.Picture<PixelYUV422, 1>(true)),
          PlaneOf(scene.Picture<PixelYUV422>()), {});
    });
  }
  if (OrcProgram* average = Compile("avgub", 1, 2); average != nullptr) {
    contest.Enter("Average", "ORC", [average](Scene& scene) {
      Run(average, scene.width, scene.height, PlaneOf(scene.Picture<PixelGrey, 2>()),
          PlaneOf(scene.Picture<PixelGrey>()), PlaneOf(scene.Picture<PixelGrey, 1>()));
    });
    contest.Enter("ParityChange", "ORC", [average](Scene& scene) {
      auto& from = scene.Picture<PixelYUV422>();
      Run(average, 2 * scene.width, scene.height - 1, PlaneOf(scene.Picture<PixelYUV422, 1>()), PlaneOf(from),
          {Start(from) + Stride(from), Stride(from)});
    });
  }
}

}  // namespace kv_bench
