#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// Adds `tilvanego callback SOCKET URL`, which passes a callback URL to a running host. The command sets
/// `status`, which must outlive `program`.
void addCallbackCommand(CLI::App& program);

}  // namespace tilvanego::program
