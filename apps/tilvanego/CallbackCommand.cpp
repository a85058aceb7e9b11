#include "CallbackCommand.h"

#include <cstdio>
#include <expected>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include <tilvanego/platform/desktop/CallbackReceiver.h>
#include <tilvanego/values/URL.h>

#include "ExitStatus.h"

namespace tilvanego::program {
namespace {

std::expected<void, std::string> handOver(const std::string& path, const std::string& text) {
  const auto url = URL::parse(text);
  if (!url) return std::unexpected("No URL: " + std::string(url.error().message) + ".");
  auto handed = CallbackReceiver::handOver(path, *url);
  if (handed) return {};
  if (handed.error().reason != CallbackReceiver::HandOverFailure::Reason::noListener) {
    return std::unexpected(std::move(handed).error().message);
  }
  return std::unexpected(handed.error().message + " Start one with: tilvanego host --callbacks " + path);
}

struct CallbackArguments {
  std::string socket;
  std::string url;
};

}  // namespace

void addCallbackCommand(CLI::App& program) {
  auto* command = program.add_subcommand(
      "callback", "Hands a callback URL to a running host, as the system's handler would");
  const auto arguments = std::make_shared<CallbackArguments>();
  command->add_option("SOCKET", arguments->socket, "What the host was given by --callbacks")->required();
  command->add_option("URL", arguments->url, "The callback URL")->required();
  command->callback([arguments] {
    const auto handed = handOver(arguments->socket, arguments->url);
    if (!handed) std::fprintf(stderr, "tilvanego callback: %s\n", handed.error().c_str());
    endWith(handed ? exitDone : exitFailed);
  });
}

}  // namespace tilvanego::program
