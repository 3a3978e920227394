#pragma once

namespace kv_host {

/// The program kv: runs its command line, reports a problem in one line on standard error and returns the
/// exit status.
int RunProgram(int argc, char** argv);

}  // namespace kv_host
