#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// `tilvanego callback SOCKET URL`: hands a callback URL to a running host. Running it sets `status`, which
/// outlives `program`.
void addCallbackCommand(CLI::App& program);

}  // namespace tilvanego::program
