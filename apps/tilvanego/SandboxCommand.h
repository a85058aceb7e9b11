#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// `tilvanego sandbox LINK`: the payment application to rehearse with.
void addSandboxCommand(CLI::App& program);

}  // namespace tilvanego::program
