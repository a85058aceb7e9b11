#include "SandboxCommand.h"

#include <expected>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/desktop/CommandLine.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>
#include <tilvanego/sandbox/Response.h>

#include "ExitStatus.h"

namespace tilvanego::program {
namespace {

using sandbox::Decision;
using sandbox::HandoffPorts;
using sandbox::LaunchLink;
using sandbox::Outcome;
using sandbox::SandboxError;
using sandbox::Transport;
using sandbox::TransportFault;

struct SandboxOptions {
  std::string link;
  std::string outcome;
  std::string transport = "same";
  std::string fault;
  std::string word;
  std::string keys;
  std::string pasteboard = "none";
  std::string open;
};

template <HasRawText Enumeration>
std::vector<std::string> namesOf() {
  std::vector<std::string> names;
  for (const Enumeration one : allCases<Enumeration>()) names.emplace_back(rawText(one));
  return names;
}

/// The status words of all operations and outcomes, in alphabetical order.
std::vector<std::string> allWords() {
  std::set<std::string> words;
  for (const auto operation : allCases<sandbox::Operation>()) {
    for (const auto outcome : allCases<Outcome>()) {
      for (const auto word : sandbox::statusWords(operation, outcome)) words.emplace(word);
    }
  }
  return {words.begin(), words.end()};
}

std::string amountsHelp() {
  std::string help =
      "Without --outcome a person at a terminal is asked, and elsewhere the amount decides by the digits "
      "after its point:\n ";
  for (const auto& [fraction, outcome] : sandbox::decidingFractions) {
    help += " ." + std::string(fraction) + " " + std::string(rawText(outcome)) + ",";
  }
  return help + " any other approve";
}

/// Asks the user until they enter an outcome. Returns `usual` for an empty line or at the end of the input.
Outcome askedOutcome(Outcome usual) {
  std::string line;
  while (true) {
    std::cerr << "outcome [" << rawText(usual) << "]: " << std::flush;
    if (!std::getline(std::cin, line) || line.empty()) return usual;
    if (const auto outcome = fromRawText<Outcome>(line)) return *outcome;
    std::cerr << "one of";
    for (const Outcome outcome : allCases<Outcome>()) std::cerr << ' ' << rawText(outcome);
    std::cerr << '\n';
  }
}

Outcome decide(const SandboxOptions& options, const LaunchLink& link) {
  if (const auto outcome = fromRawText<Outcome>(options.outcome)) return *outcome;
  const Outcome usual = usualOutcome(link);
  return isatty(STDIN_FILENO) == 1 ? askedOutcome(usual) : usual;
}

std::expected<LaunchLink, SandboxError> read(const std::string& text, const HandoffPorts& ports) {
  const auto url = URL::parse(text);
  if (!url) return std::unexpected(SandboxError{"the link is no URL: " + std::string(url.error().message)});
  return LaunchLink::read(*url, ports);
}

/// Runs the command with the callback URL and waits for its end.
bool openCallback(const std::string& command, const URL& callback) {
  RunLoop& loop = RunLoop::main();
  SpawnedOpener opener(loop, *splitCommandLine(command));
  bool wasOpened = false;
  opener.openURL(callback, [&](bool opened) {
    wasOpened = opened;
    loop.stop();
  });
  loop.run();
  return wasOpened;
}

int failed(std::string_view message) {
  std::cerr << "tilvanego sandbox: " << message << '\n';
  return exitFailed;
}

int runSandbox(const SandboxOptions& options) {
  PasteboardStore store(std::make_shared<SystemClock>());
  const HandoffPorts ports{.pasteboard = options.pasteboard == "store" ? &store : nullptr};
  const auto link = read(options.link, ports);
  if (!link) return failed(link.error().message);
  for (const std::string& line : link->lines()) std::cout << line << '\n';
  std::cout << std::flush;

  const Decision decision{
      .outcome = decide(options, *link),
      .transport = fromRawText<Transport>(options.transport),
      .fault = fromRawText<TransportFault>(options.fault),
      .word = options.word.empty() ? std::nullopt : std::optional(options.word),
      .keys = fromRawText<sandbox::KeySpelling>(options.keys).value_or(sandbox::KeySpelling::first),
  };
  const auto callback = respond(*link, decision, ports);
  if (!callback) return failed(callback.error().message);
  std::cout << "outcome: " << rawText(decision.outcome) << '\n' << std::flush;
  if (!*callback) return exitDone;
  if (options.open.empty()) {
    std::cout << (*callback)->absoluteString() << '\n' << std::flush;
  } else if (!openCallback(options.open, **callback)) {
    return failed("the callback URL was not opened by: " + options.open);
  }
  return exitDone;
}

}  // namespace

void addSandboxCommand(CLI::App& program) {
  auto options = std::make_shared<SandboxOptions>();
  CLI::App* command =
      program.add_subcommand("sandbox", "Answers a launch link as the payment application would");
  command->add_option("LINK", options->link, "The link that a host opened")->required();
  command->add_option("--outcome", options->outcome, "What happens to the request")
      ->check(CLI::IsMember(namesOf<Outcome>()));
  command->add_option("--answer", options->transport, "How the answer travels; same is how the request came")
      ->check(CLI::IsMember({"same", "url", "gzip", "pasteboard"}))
      ->capture_default_str();
  command->add_option("--fault", options->fault, "What goes wrong with an answer by gzip or pasteboard")
      ->check(CLI::IsMember(namesOf<TransportFault>()));
  command
      ->add_option("--word", options->word,
                   "The status word, one that the request's operation knows for the outcome")
      ->check(CLI::IsMember(allWords()));
  command
      ->add_option(
          "--keys", options->keys,
          "How each item of the callback is called: by the first spelling of its field, the second and so "
          "on or else the last, or by the one in camel case where there is one")
      ->check(CLI::IsMember(namesOf<sandbox::KeySpelling>()));
  command
      ->add_option("--pasteboard", options->pasteboard,
                   "store: read and answer on the pasteboard that the user's other processes see")
      ->check(CLI::IsMember({"none", "store"}))
      ->capture_default_str();
  command
      ->add_option(
          "--open", options->open,
          "A program, with arguments, that opens the callback URL, its last argument; without it the URL is "
          "the last line of the output")
      ->check([](const std::string& text) {
        return splitCommandLine(text) ? std::string()
                                      : "is no command line: a quote isn't closed, or it is empty";
      });
  command->footer(amountsHelp());
  command->callback([options] { endWith(runSandbox(*options)); });
}

}  // namespace tilvanego::program
