#include "SandboxCommand.h"

#include <chrono>
#include <expected>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <tilvanego/platform/RunLoop.h>
#include <tilvanego/platform/SystemClock.h>
#include <tilvanego/platform/desktop/CommandLine.h>
#include <tilvanego/platform/desktop/PasteboardStore.h>
#include <tilvanego/platform/desktop/SpawnedOpener.h>
#include <tilvanego/sandbox/Rehearsal.h>
#include <tilvanego/sandbox/Response.h>

#include "ExitStatus.h"
#include "ScriptFile.h"

namespace tilvanego::program {
namespace {

using sandbox::Decision;
using sandbox::Delivery;
using sandbox::HandoffPorts;
using sandbox::LaunchLink;
using sandbox::Outcome;
using sandbox::Rehearsal;
using sandbox::RehearsalLine;
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
  std::optional<std::string> script;
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

Outcome decide(const SandboxOptions& options, const LaunchLink& link, const RehearsalLine* line) {
  if (line != nullptr && line->outcome) return *line->outcome;
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

void note(std::string_view message) { std::cerr << "tilvanego sandbox: " << message << '\n'; }

int failed(std::string_view message) {
  note(message);
  return exitFailed;
}

/// Passes the callback URL on, as often and as late as the line of the script says.
int deliver(const SandboxOptions& options, const LaunchLink& link, const URL& callback,
            const RehearsalLine& line) {
  const Delivery delivery = line.delivery.value_or(Delivery::once);
  if (delivery == Delivery::late)
    note("the callback would come after the next request, and this is the only one");
  if (delivery == Delivery::late || delivery == Delivery::never) return exitDone;
  std::this_thread::sleep_for(std::chrono::duration<double>(line.delay.value_or(0)));
  const URL arriving = sandbox::delivered(callback, link, delivery);
  for (int left = delivery == Delivery::twice ? 2 : 1; left > 0; --left) {
    if (options.open.empty()) {
      std::cout << arriving.absoluteString() << '\n' << std::flush;
    } else if (!openCallback(options.open, arriving)) {
      return failed("the callback URL was not opened by: " + options.open);
    }
  }
  return exitDone;
}

/// Tells what of the script didn't happen.
void tellTheRest(const SandboxOptions& options, const Rehearsal& rehearsal) {
  for (const std::string& request : rehearsal.unmatchedRequests()) note(*options.script + ": " + request);
  for (const std::string& line : rehearsal.unusedLines()) note(*options.script + ": " + line);
}

int answer(const SandboxOptions& options, const LaunchLink& link, const HandoffPorts& ports,
           const RehearsalLine* line) {
  Decision decision{
      .outcome = decide(options, link, line),
      .transport = fromRawText<Transport>(options.transport),
      .fault = fromRawText<TransportFault>(options.fault),
      .word = options.word.empty() ? std::nullopt : std::optional(options.word),
      .keys = fromRawText<sandbox::KeySpelling>(options.keys).value_or(sandbox::KeySpelling::first),
  };
  if (line != nullptr) line->applyTo(decision, link.operation());
  const auto callback = respond(link, decision, ports);
  if (!callback) {
    const std::string where =
        line != nullptr ? *options.script + ": line " + std::to_string(line->number) + ": " : "";
    return failed(where + callback.error().message);
  }
  std::cout << "outcome: " << rawText(decision.outcome) << '\n' << std::flush;
  if (!*callback) return exitDone;
  return deliver(options, link, **callback, line != nullptr ? *line : RehearsalLine());
}

int runSandbox(const SandboxOptions& options) {
  std::optional<Rehearsal> rehearsal;
  if (options.script) {
    auto script = readScriptFile(*options.script);
    if (!script) return failed(script.error());
    rehearsal.emplace(*std::move(script));
  }
  PasteboardStore store(std::make_shared<SystemClock>());
  const HandoffPorts ports{.pasteboard = options.pasteboard == "store" ? &store : nullptr};
  const auto link = read(options.link, ports);
  if (!link) return failed(link.error().message);
  for (const std::string& line : link->lines()) std::cout << line << '\n';
  std::cout << std::flush;

  const int status = answer(options, *link, ports, rehearsal ? rehearsal->next(*link) : nullptr);
  if (rehearsal) tellTheRest(options, *rehearsal);
  return status;
}

}  // namespace

void addSandboxCommand(CLI::App& program) {
  auto options = std::make_shared<SandboxOptions>();
  CLI::App* command =
      program.add_subcommand("sandbox", "Answers a launch link as the payment application would");
  command->add_option("LINK", options->link, "The link that a host opened")->required();
  command->add_option("--outcome", options->outcome, "What happens to the request")
      ->check(CLI::IsMember(namesOf<Outcome>()));
  command
      ->add_option("--script", options->script,
                   "The lines of a rehearsal: the first that fits the request decides, and how its callback "
                   "is delivered")
      ->type_name("FILE");
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
  for (const char* name : {"--outcome", "--answer", "--fault", "--word", "--keys"}) {
    command->get_option("--script")->excludes(command->get_option(name));
  }
  command->footer(amountsHelp());
  command->callback([options] { endWith(runSandbox(*options)); });
}

}  // namespace tilvanego::program
