#include "RequestText.h"

#include <algorithm>
#include <cctype>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/values/RawText.h>

#include "apps/window/AmountText.h"

namespace tilvanego::terminal {
namespace {

using sandbox::LaunchLink;

std::string capital(std::string text) {
  if (!text.empty()) text.front() = static_cast<char>(std::toupper(static_cast<unsigned char>(text.front())));
  return text;
}

/// Where a URL leads, and the length of what may hold secrets.
std::string hidden(const URL& url) {
  const std::string& text = url.absoluteString();
  const std::size_t rest = text.find_first_of("?#");
  if (rest == text.npos) return text;
  return text.substr(0, rest) + " (" + std::to_string(text.size() - rest) + " more characters are hidden)";
}

}  // namespace

std::string operationName(sandbox::Operation operation) { return capital(operationWords(operation)); }

std::string outcomeName(sandbox::Outcome outcome) {
  std::string name(rawText(outcome));
  std::ranges::replace(name, '-', ' ');
  return capital(name);
}

std::string amountText(const LaunchLink& asked) {
  const auto& amount = asked.amount();
  return amount ? program::amountWithCurrency(*amount, asked.item("currency").value_or("")) : std::string();
}

std::string arrivalText(sandbox::Transport transport) {
  switch (transport) {
    case sandbox::Transport::url:
      return "In the link";
    case sandbox::Transport::gzip:
      return "Compressed in the link";
    case sandbox::Transport::pasteboard:
      return "Sealed on the clipboard";
  }
  return {};
}

std::string summary(const Request& request) {
  if (!request.asked) return "A link that can't be read";
  const auto also = [](const std::string& text) { return text.empty() ? text : " \u00b7 " + text; };
  std::string text = operationName(request.asked->operation()) + also(amountText(*request.asked)) +
                     also(request.outcome ? outcomeName(*request.outcome) : "waits");
  if (request.line) text += ", by line " + std::to_string(*request.line) + " of the script";
  return text + also(request.asked->requestId().value_or(""));
}

std::string details(const Request& request) {
  std::string text;
  if (!request.asked) return text;
  for (const std::string& line : request.asked->lines()) text += line + '\n';
  return text;
}

std::string traffic(const Request& request, bool shown) {
  const auto text = [shown](const URL& url) { return shown ? url.absoluteString() : hidden(url); };
  return "Link: " + text(request.link) + "\n\nAnswer: " +
         (request.callback  ? text(*request.callback)
          : request.waits() ? "not yet"
                            : "none") +
         '\n';
}

}  // namespace tilvanego::terminal
