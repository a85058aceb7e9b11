#include <cstdio>
#include <string>

#include <CLI/CLI.hpp>

#include "CallbackCommand.h"
#include "DemoCommand.h"
#include "ExitStatus.h"
#include "HostCommand.h"
#include "ModelCommand.h"
#include "SandboxCommand.h"
#include "SchemeCommand.h"
#include "SendCommand.h"

namespace {

/// Returns the unexpected arguments for a message: the names of options, and other words. A word that may be
/// a link, or a part of one, is replaced: it may contain a token.
std::string notExpected(const CLI::App& program) {
  std::string names;
  for (const std::string& text : program.remaining(true)) {
    const bool isOption = text.size() > 1 && text.starts_with('-');
    const bool mayBeSecret = text.contains('=') || text.contains("://");
    names.append(names.empty() ? "" : ", ");
    names.append(isOption ? text.substr(0, text.find('=')) : mayBeSecret ? "an argument" : text);
  }
  return names;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  using namespace tilvanego::program;
  CLI::App program("A host that hands payments to a payment application: to watch, to rehearse, to script.");
  program.name("tilvanego");
  program.require_subcommand(1);
  program.footer(
      "Each command has a --help of its own.\n"
      "Exit status: 0, 1 for a failed operation, 2 for wrong usage.");

  addDemoCommand(program);
  addHostCommand(program);
  addCallbackCommand(program);
  addSandboxCommand(program);
  addSendCommand(program);
  addModelCommand(program);
  addSchemeCommand(program);
  try {
    program.parse(argumentCount, arguments);
  } catch (const CLI::RuntimeError& ended) {
    return ended.get_exit_code();
  } catch (const CLI::ExtrasError&) {
    std::fprintf(stderr, "Not expected: %s\nRun with --help for more information.\n",
                 notExpected(program).c_str());
    return exitWrongUsage;
  } catch (const CLI::ParseError& error) {
    return program.exit(error) == 0 ? exitDone : exitWrongUsage;
  }
  return exitDone;
}
