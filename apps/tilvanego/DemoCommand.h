#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// `tilvanego demo`: a payment out and back in one process. Running it sets `status`, which outlives
/// `program`.
void addDemoCommand(CLI::App& program);

}  // namespace tilvanego::program
