// kv: pictures and video through the plug-in family.

#include "host/program.h"

int main(int argc, char** argv) {
  return kv_host::RunProgram(argc, argv);
}
