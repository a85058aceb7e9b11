#include "CallbackCommand.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <expected>
#include <memory>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>
#include <sys/socket.h>
#include <unistd.h>

#include <tilvanego/values/URL.h>

#include "CallbackSocket.h"
#include "ExitStatus.h"

namespace tilvanego::program {
namespace {

bool sendAll(int socket, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return ::shutdown(socket, SHUT_WR) == 0;
}

std::string receiveAll(int socket) {
  std::string text;
  std::array<char, 4096> chunk{};
  for (;;) {
    const ssize_t count = ::read(socket, chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(chunk.data(), static_cast<std::size_t>(count));
  }
}

std::expected<void, std::string> handOver(const std::string& path, const std::string& text) {
  if (const auto url = URL::parse(text); !url) {
    return std::unexpected("No URL: " + std::string(url.error().message) + ".");
  }
  if (text.size() > longestCallbackURL) {
    return std::unexpected("The URL is longer than " + std::to_string(longestCallbackURL) + " bytes.");
  }
  const auto host = connectToHost(path);
  if (!host) return std::unexpected(host.error());
  const bool sent = sendAll(host->get(), text);
  const std::string reply = sent ? receiveAll(host->get()) : std::string();
  if (reply == callbackTaken) return {};
  return std::unexpected(reply.empty() ? "The host at " + path + " ended before it took the URL." : reply);
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
