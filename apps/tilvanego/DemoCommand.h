#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// Adds `tilvanego demo`, which shows payments in one process. The command sets `status`, which must outlive
/// `program`.
void addDemoCommand(CLI::App& program);

}  // namespace tilvanego::program
