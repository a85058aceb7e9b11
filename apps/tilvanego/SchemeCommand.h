#pragma once

#include <CLI/App.hpp>

namespace tilvanego::program {

/// Adds `tilvanego scheme install|remove|show SCHEME`.
void addSchemeCommand(CLI::App& program);

}  // namespace tilvanego::program
