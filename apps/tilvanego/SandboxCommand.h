#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// Adds `tilvanego sandbox LINK`, the payment application for rehearsals.
void addSandboxCommand(CLI::App& program);

}  // namespace tilvanego::program
