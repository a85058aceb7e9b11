#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// `tilvanego model`: what the POI records are, and whether a JSON text is one of them.
void addModelCommand(CLI::App& program);

}  // namespace tilvanego::program
