#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// Adds `tilvanego send METHOD URL`, one request by the HTTP client.
void addSendCommand(CLI::App& program);

}  // namespace tilvanego::program
