#pragma once

namespace kv_host {

/// Decodes what standard input holds to standard output, in a process of its own with limits, if the arguments ask for
/// it; answers the exit status, or below 0 if they do not.
int RunAvWorker(int argc, char** argv);

}  // namespace kv_host
