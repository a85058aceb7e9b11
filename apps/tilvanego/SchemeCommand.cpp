#include "SchemeCommand.h"

#include <cstdio>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include <tilvanego/platform/desktop/CommandLine.h>
#include <tilvanego/platform/desktop/SchemeHandler.h>

#include "ExitStatus.h"

namespace tilvanego::program {
namespace {

struct SchemeArguments {
  std::string scheme;
  std::string command;
  std::string name;
  bool replaces = false;
};

int failed(const std::string& sentence) {
  std::fprintf(stderr, "tilvanego scheme: %s\n", sentence.c_str());
  return exitFailed;
}

int install(const SchemeArguments& arguments) {
  const auto command = splitCommandLine(arguments.command);
  if (!command) {
    std::fputs("--command: it is empty or a quote isn't closed. Run with --help for more information.\n",
               stderr);
    return exitWrongUsage;
  }
  const SchemeHandler::Program program{arguments.name.empty() ? command->front() : arguments.name, *command};
  const auto others = arguments.replaces ? SchemeHandler::Others::replace : SchemeHandler::Others::keep;
  const auto installed = SchemeHandler::install(arguments.scheme, program, others);
  if (installed) return exitDone;
  const bool mayReplace = installed.error().reason == SchemeHandler::Failure::Reason::handledByAnother;
  return failed(installed.error().message + (mayReplace ? " Take it over with --replace." : ""));
}

int remove(const SchemeArguments& arguments) {
  const auto removed = SchemeHandler::remove(arguments.scheme);
  if (!removed) return failed(removed.error().message);
  return *removed ? exitDone : failed("Nothing was installed for " + arguments.scheme + ":.");
}

int show(const SchemeArguments& arguments) {
  const auto handler = SchemeHandler::show(arguments.scheme);
  if (!handler) return failed("No program handles links with " + arguments.scheme + ":.");
  if (!handler->entry.empty()) std::printf("%s\n%s\n", handler->entry.c_str(), handler->exec.c_str());
  return handler->obstacle ? failed(*handler->obstacle) : exitDone;
}

CLI::App* addSubcommand(CLI::App& scheme, const char* name, const char* help, SchemeArguments& arguments) {
  auto* command = scheme.add_subcommand(name, help);
  command->add_option("SCHEME", arguments.scheme, "The part of a link before the \":\"")
      ->required()
      ->check([](const std::string& text) {
        return SchemeHandler::isScheme(text)
                   ? std::string()
                   : "a scheme is a letter, then letters, digits, \"+\", \"-\" or \".\"";
      });
  return command;
}

}  // namespace

void addSchemeCommand(CLI::App& program) {
  auto* scheme = program.add_subcommand(
      "scheme", "Registers the program that the desktop opens links of a scheme with, for this user");
  scheme->require_subcommand(1);
  const auto arguments = std::make_shared<SchemeArguments>();
  auto* installing = addSubcommand(*scheme, "install", "Makes a command the handler of a scheme", *arguments);
  installing
      ->add_option("--command", arguments->command, "The command; the link follows as its last argument")
      ->required();
  installing->add_option("--name", arguments->name, "What the desktop shows; else the command's program");
  installing->add_flag("--replace", arguments->replaces, "Take the scheme over from another program");
  installing->callback([arguments] { endWith(install(*arguments)); });
  addSubcommand(*scheme, "remove", "Undoes install", *arguments)->callback([arguments] {
    endWith(remove(*arguments));
  });
  addSubcommand(*scheme, "show", "Prints the handler's desktop entry and command", *arguments)
      ->callback([arguments] { endWith(show(*arguments)); });
}

}  // namespace tilvanego::program
