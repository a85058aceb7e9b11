#include "DemoCommand.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include <tilvanego/values/RawText.h>

#include "Demo.h"
#include "ExitStatus.h"
#include "Terminal.h"

namespace tilvanego::program {
namespace {

struct DemoArguments {
  std::vector<std::string> transports;
  std::string amount = "12.50";
  std::string outcome;
};

/// Less than the length of the payment's inline link, so that `automatic` chooses another form.
constexpr std::int64_t automaticLimit = 100;

struct NamedTransport {
  std::string name;
  PaymentLaunchTransport transport;
};

std::vector<NamedTransport> allTransports() {
  return {{"urlScheme", PaymentLaunchTransport::urlScheme()},
          {"gzip", PaymentLaunchTransport::gzip()},
          {"pasteboard", PaymentLaunchTransport::pasteboard()},
          {"automatic", PaymentLaunchTransport::automatic(automaticLimit)}};
}

std::vector<std::string> transportNames() {
  std::vector<std::string> names;
  for (const auto& one : allTransports()) names.push_back(one.name);
  return names;
}

std::vector<std::string> outcomeNames() {
  std::vector<std::string> names;
  for (const auto one : allCases<sandbox::Outcome>()) names.emplace_back(rawText(one));
  return names;
}

std::string checkAmount(const std::string& text) {
  return Decimal::parseExact(text) ? "" : "must be a number, such as 12.50";
}

int runDemoCommand(const DemoArguments& arguments) {
  DemoOptions options{.transports = {},
                      .otherOperations = arguments.transports.empty(),
                      .amount = *Decimal::parseExact(arguments.amount),
                      .outcome = fromRawText<sandbox::Outcome>(arguments.outcome)};
  for (const auto& one : allTransports()) {
    if (arguments.transports.empty() || one.name == arguments.transports.front())
      options.transports.push_back(one.transport);
  }
  Terminal terminal;
  return runDemo(options, terminal) ? exitDone : exitFailed;
}

}  // namespace

void addDemoCommand(CLI::App& program) {
  auto* command = program.add_subcommand(
      "demo", "Each operation out and back in one process, with the sandbox as the payment application");
  const auto arguments = std::make_shared<DemoArguments>();
  command->add_option("--transport", arguments->transports, "Only the payment, by this transport")
      ->expected(1)
      ->check(CLI::IsMember(transportNames()));
  command
      ->add_option("--amount", arguments->amount,
                   "The amount in euro; without --outcome it decides what happens")
      ->check(CLI::Validator(checkAmount, "NUMBER"))
      ->capture_default_str();
  command->add_option("--outcome", arguments->outcome, "What the payment application does")
      ->check(CLI::IsMember(outcomeNames()));
  command->callback([arguments] { endWith(runDemoCommand(*arguments)); });
}

}  // namespace tilvanego::program
