#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// `tilvanego send METHOD URL`: one request through the HTTP client runtime.
void addSendCommand(CLI::App& program);

}  // namespace tilvanego::program
