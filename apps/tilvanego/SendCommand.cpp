#include "SendCommand.h"

#include <cmath>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include <tilvanego/values/Text.h>

#include "ExitStatus.h"
#include "ModelBody.h"
#include "SendOptions.h"
#include "Sending.h"

namespace tilvanego::program {
namespace {

/// Returns the texts before and after the first separator; nothing if there is none.
std::optional<NamedValue> splitAt(std::string_view text, char separator) {
  const std::size_t at = text.find(separator);
  if (at == std::string_view::npos) return std::nullopt;
  return NamedValue{std::string(text.substr(0, at)), std::string(text.substr(at + 1))};
}

// The message doesn't repeat the value, which may be a secret.
[[noreturn]] void refuse(const std::string& option, const std::string& what) {
  throw CLI::ValidationError(option, what);
}

/// An option that may be given several times, each with one value.
CLI::Option* addRepeatable(CLI::App& command, const std::string& name,
                           std::function<void(const std::string&)> take, const std::string& help) {
  return command
      .add_option_function<std::vector<std::string>>(
          name,
          [take = std::move(take)](const std::vector<std::string>& values) {
            for (const std::string& value : values) take(value);
          },
          help)
      ->allow_extra_args(false);
}

CLI::Option* addNamedValues(CLI::App& command, const std::string& name, std::function<void(NamedValue)> take,
                            const std::string& help) {
  return addRepeatable(
             command, name,
             [name, take = std::move(take)](const std::string& text) {
               auto value = splitAt(text, '=');
               if (!value) refuse(name, "must be NAME=VALUE");
               take(*std::move(value));
             },
             help)
      ->type_name("NAME=VALUE");
}

void addTarget(CLI::App& command, SendOptions& options) {
  command
      .add_option_function<std::string>(
          "METHOD",
          [&options](const std::string& text) {
            const auto method = fromRawText<HTTPMethod>(text);
            if (!method) {
              std::string known;
              for (const HTTPMethod one : allCases<HTTPMethod>()) known += " " + std::string(rawText(one));
              refuse("METHOD", "must be one of" + known + ", in capitals");
            }
            options.method = *method;
          },
          "GET, POST and so on, in capitals")
      ->required();
  command.add_option("URL", options.url, "The whole URL")->required();
  addRepeatable(
      command, "--header",
      [&options](const std::string& text) {
        const auto field = splitAt(text, ':');
        if (!field || field->name.empty()) refuse("--header", "must be \"Name: value\"");
        options.headers.setValue(field->name, std::string(trimmed(field->value)));
      },
      "A header field; the last of a name wins")
      ->type_name("\"Name: value\"");
  addNamedValues(
      command, "--query", [&options](NamedValue value) { options.query.push_back(std::move(value)); },
      "A query parameter, in place of the URL's own query; a name given twice is an array");
}

void addBodies(CLI::App& command, SendOptions& options) {
  const auto file = [&](const std::string& name, SendBodyKind kind, const std::string& help) {
    return command
        .add_option_function<std::string>(
            name,
            [&options, kind](const std::string& path) {
              options.bodyKind = kind;
              options.bodyFile = path;
            },
            help)
        ->type_name("FILE");
  };
  const auto items = [&](const std::string& name, SendBodyKind kind, const std::string& help) {
    return addNamedValues(
        command, name,
        [&options, kind](NamedValue value) {
          options.bodyKind = kind;
          options.bodyItems.push_back(std::move(value));
        },
        help);
  };
  const std::vector<CLI::Option*> kinds{
      file("--json", SendBodyKind::json, "A JSON body; refused before it is sent if it isn't JSON"),
      items("--form", SendBodyKind::form, "An item of a form; repeatable"),
      items("--multipart", SendBodyKind::multipart,
            "A part of a multipart body, a file's as NAME=@FILE; repeatable"),
      file("--octet", SendBodyKind::octet, "A body of any bytes")};
  for (CLI::Option* one : kinds) {
    for (CLI::Option* other : kinds) {
      if (one != other) one->excludes(other);
    }
  }
}

ResponseForm responseForm(const std::string& text, std::string& model) {
  const std::pair<std::string_view, ResponseForm> forms[] = {
      {"text", ResponseForm::text}, {"bytes", ResponseForm::bytes}, {"json", ResponseForm::json},
      {"file", ResponseForm::file}, {"none", ResponseForm::none},
  };
  for (const auto& [name, form] : forms) {
    if (text == name) return form;
  }
  constexpr std::string_view prefix = "model:";
  if (!text.starts_with(prefix)) refuse("--as", "must be text, bytes, json, file, none or model:NAME");
  model = text.substr(prefix.size());
  if (!isModel(model)) refuse("--as", "no model has this name; `tilvanego model list` shows all");
  return ResponseForm::model;
}

void addResponseForm(CLI::App& command, SendOptions& options) {
  command
      .add_option_function<std::string>(
          "--as",
          [&options](const std::string& text) { options.responseForm = responseForm(text, options.model); },
          "How the body is read: text, bytes, json, file, none or model:NAME; text without it")
      ->type_name("FORM");
  command.add_flag("--include", options.include,
                   "The status line, the header fields and an empty line before the body");
  command.add_flag("--timings", options.timings, "What each try took, as the last lines on standard error");
  command.add_flag("--progress", options.progress, "A progress bar on standard error, if that is a terminal");
}

void addConnection(CLI::App& command, SendOptions& options) {
  command
      .add_option_function<std::string>(
          "--user",
          [&options](const std::string& text) {
            auto user = splitAt(text, ':');
            if (!user) refuse("--user", "must be NAME:PASSWORD");
            options.user = URLCredential{std::move(user->name), std::move(user->value)};
          },
          "Answers a Basic or Digest challenge")
      ->type_name("NAME:PASSWORD");
  command.add_option("--retries", options.retries,
                     "Further sends at most, on a broken connection or a status of 500 or more");
  command
      .add_option_function<double>(
          "--timeout",
          [&options](const double& seconds) {
            if (!std::isfinite(seconds) || seconds <= 0) refuse("--timeout", "must be more than 0");
            options.timeout = seconds;
          },
          "Seconds without any byte before the request fails; 60 without it")
      ->type_name("SECONDS");
  command.add_option("--cacert", options.certificate, "Trust the certificates in this PEM file as well")
      ->type_name("FILE");
  command.add_option("--proxy", options.proxy, "Go through this proxy; an empty one means none")
      ->type_name("URL");
}

}  // namespace

void addSendCommand(CLI::App& program) {
  const auto options = std::make_shared<SendOptions>();
  CLI::App* command = program.add_subcommand("send", "Sends one request through the HTTP client runtime");
  addTarget(*command, *options);
  addBodies(*command, *options);
  addResponseForm(*command, *options);
  addConnection(*command, *options);
  command->footer("FILE may be - for standard input. One kind of body at most; GET and HEAD send none.");
  command->callback([options] {
    const bool isBodyless = options->method == HTTPMethod::get || options->method == HTTPMethod::head;
    if (isBodyless && options->bodyKind != SendBodyKind::none) {
      refuse("METHOD",
             std::string(rawText(options->method)) + " sends no body; use --query, or another method");
    }
    endWith(runSend(*options));
  });
}

}  // namespace tilvanego::program
