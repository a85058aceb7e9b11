#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// Adds `tilvanego host`, a host that runs a script of JSON lines. The command sets `status`, which must
/// outlive `program`.
void addHostCommand(CLI::App& program);

}  // namespace tilvanego::program
