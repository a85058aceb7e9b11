#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// `tilvanego host`: a host driven by a script of JSON lines. Running it sets `status`, which outlives
/// `program`.
void addHostCommand(CLI::App& program);

}  // namespace tilvanego::program
