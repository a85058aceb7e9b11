#pragma once

namespace CLI {
class App;
}

namespace tilvanego::program {

/// Adds `tilvanego model`, which shows the POI records and checks whether a JSON text is one of them.
void addModelCommand(CLI::App& program);

}  // namespace tilvanego::program
