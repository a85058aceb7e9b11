#pragma once

#include <concepts>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

/// How the library's types write themselves to a stream: for the reports of test frameworks, and for a host's
/// own log. No secret is written: `values/SecretNames.h` has their names.
namespace [[gnu::visibility("default")]] tilvanego {

namespace [[gnu::visibility("default")]] support {

// For inline functions of public headers, which then need no <ostream>.
void showText(std::ostream& out, std::string_view text);
/// Writes the text as a literal in quotes, so that no text can end the line.
void showLiteral(std::ostream& out, std::string_view text);
void showNumber(std::ostream& out, std::int64_t value);
void showNumber(std::ostream& out, double value);

}  // namespace support

/// A request or an error, which describes itself in one line without secrets.
template <typename T>
concept DescribesItself = requires(const T& value) {
  { value.description() } -> std::convertible_to<std::string>;
};

/// Writes the description.
template <DescribesItself T>
std::ostream& operator<<(std::ostream& out, const T& value) {
  support::showText(out, value.description());
  return out;
}

}  // namespace tilvanego
