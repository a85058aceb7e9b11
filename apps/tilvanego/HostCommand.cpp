#include "HostCommand.h"

#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <tilvanego/facade/TilvaneGoSDK.h>
#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/desktop/CallbackReceiver.h>
#include <tilvanego/platform/desktop/CommandLine.h>
#include <tilvanego/values/URL.h>

#include "EventWriter.h"
#include "ExitStatus.h"
#include "HostLoop.h"
#include "HostScript.h"
#include "HostSession.h"

namespace tilvanego::program {
namespace {

struct HostArguments {
  std::string open = "none";
  std::string pasteboard = "memory";
  std::string callbacks;
  std::string state;
};

/// The check of an option that takes a path.
std::string isNamed(const std::string& path) { return path.empty() ? "it is empty: name a path" : ""; }

void runLine(const LineBuffer::Line& line, HostSession& session) {
  if (line.tooLong) {
    session.events().error("The line is longer than " + std::to_string(LineBuffer::longestLine) + " bytes.");
    return;
  }
  const auto action = readScriptLine(line.text);
  if (!action) {
    session.events().error(action.error());
    return;
  }
  (*action)(session);
}

int runScript(const HostOptions& options, CallbackReceiver* callbacks) {
  EventWriter events(stdout);
  HostSession session(options, events, RunLoop::main());
  HostLoop loop(RunLoop::main(), STDIN_FILENO);
  if (callbacks != nullptr) {
    callbacks->receive(RunLoop::main(), [&](const URL& url) { session.sdk().handleCallback(url); });
  }
  return loop.run([&](const LineBuffer::Line& line) { runLine(line, session); });
}

int runHost(const HostArguments& arguments) {
  HostOptions options{.openCommand = std::nullopt,
                      .pasteboardStore = arguments.pasteboard == "store",
                      .stateDirectory = arguments.state};
  if (arguments.open != "none") {
    options.openCommand = splitCommandLine(arguments.open);
    if (!options.openCommand) {
      std::fputs(
          "--open: the command is empty or a quote isn't closed. Run with --help for more information.\n",
          stderr);
      return exitWrongUsage;
    }
  }
  std::unique_ptr<CallbackReceiver> callbacks;
  if (!arguments.callbacks.empty()) {
    auto socket = CallbackReceiver::listenAt(arguments.callbacks);
    if (!socket) {
      std::fprintf(stderr, "tilvanego host: %s\n", socket.error().c_str());
      return exitFailed;
    }
    callbacks = *std::move(socket);
  }
  const int signal = runScript(options, callbacks.get());
  // Removes the socket before the signal ends the process.
  callbacks.reset();
  if (signal != 0) std::raise(signal);
  return exitDone;
}

}  // namespace

void addHostCommand(CLI::App& program) {
  auto* command = program.add_subcommand(
      "host",
      "A scriptable host: JSON objects in, one a line, and what they cause out, one JSON object a line");
  const auto arguments = std::make_shared<HostArguments>();
  command
      ->add_option(
          "--open", arguments->open,
          "none: links are only reported. Else a command that is run with each link as its last argument; "
          "exit status 0 means opened")
      ->capture_default_str();
  command
      ->add_option("--pasteboard", arguments->pasteboard,
                   "The program's own, or the one that other processes see")
      ->check(CLI::IsMember({"memory", "store"}))
      ->capture_default_str();
  command
      ->add_option("--callbacks", arguments->callbacks,
                   "A socket to make, for: tilvanego callback SOCKET URL")
      ->type_name("SOCKET");
  command
      ->add_option(
          "--state", arguments->state,
          "A directory that keeps pending operations, so that a host that was killed finds them at its "
          "next start")
      ->check(isNamed)
      ->type_name("DIR");
  command->footer("Try: echo '{\"pending\":\"payment\"}' | tilvanego host");
  command->callback([arguments] { endWith(runHost(*arguments)); });
}

}  // namespace tilvanego::program
