#pragma once

namespace kv_host {

/// The program kv: works on its command line, tells problems on standard error in one line, answers the exit
/// status.
int RunProgram(int argc, char** argv);

}  // namespace kv_host
