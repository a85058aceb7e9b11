#pragma once

#include "SendOptions.h"

namespace tilvanego::program {

/// Sends the request, shows the response or the failure, and returns the program's exit status. Call it on
/// the main thread: it runs the main queue until the request is over.
[[nodiscard]] int runSend(const SendOptions& options);

}  // namespace tilvanego::program
