#pragma once

#include "SendOptions.h"

namespace tilvanego::program {

/// Sends the request, shows the answer or why there is none, and gives the program's exit status. To be
/// called on the main thread, whose queue it runs meanwhile.
[[nodiscard]] int runSend(const SendOptions& options);

}  // namespace tilvanego::program
