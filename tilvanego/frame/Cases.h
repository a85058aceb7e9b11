#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include <tilvanego/json/ShownFields.h>

/// The parts of the result and error unions of all operations.
///
/// Each union is a class derived from `std::variant`. Read it with
/// `std::get_if<PaymentResult::Success>(&result)` or `std::visit`. Each case is a small struct with its
/// `name` and its payload.
namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] cases {

/// A text that can be a template argument.
template <std::size_t Size>
struct Text {
  // NOLINTNEXTLINE(google-explicit-constructor): a literal is the argument.
  consteval Text(const char (&literal)[Size]) { std::copy_n(literal, Size, characters); }
  constexpr operator std::string_view() const { return {characters, Size - 1}; }
  char characters[Size]{};
};

/// An error case without payload: its name, and the text that describes it.
template <Text Name, Text Description>
struct Plain {
  static constexpr std::string_view name = Name;
  [[nodiscard]] std::string description() const { return std::string(std::string_view(Description)); }
  bool operator==(const Plain&) const = default;
};

/// The description that all operations have for a link that wasn't opened.
inline constexpr Text appNotInstalled = "Tilvane payment app is not installed or cannot be opened.";

/// The request can't be sent as it is; `message` says what to mend.
struct InvalidRequest {
  static constexpr std::string_view name = "invalidRequest";
  std::string message;
  [[nodiscard]] const std::string& description() const { return message; }
  bool operator==(const InvalidRequest&) const = default;
};

/// The callback has the id of another request. The description begins with `Subject`.
template <Text Subject>
struct RequestIdMismatch {
  static constexpr std::string_view name = "requestIdMismatch";
  std::string expected;
  std::optional<std::string> received;
  [[nodiscard]] std::string description() const {
    return std::string(std::string_view(Subject)) + " callback request ID mismatch. Expected " + expected +
           ", received " + received.value_or("none") + ".";
  }
  bool operator==(const RequestIdMismatch&) const = default;
};

/// The status is not one of the operation's status words; `status` is its raw text. The description begins
/// with `Subject`.
template <Text Name, Text Subject>
struct FailedWithStatus {
  static constexpr std::string_view name = Name;
  std::optional<std::string> status;
  [[nodiscard]] std::string description() const {
    return std::string(std::string_view(Subject)) + " failed with status " + status.value_or("unknown") + ".";
  }
  bool operator==(const FailedWithStatus&) const = default;
};

/// The status is not one of the operation's status words. `code` and `message` are the callback's error
/// code and message. Without a message, the description begins with `Subject`.
template <Text Name, Text Subject>
struct FailedWithCode {
  static constexpr std::string_view name = Name;
  std::optional<std::string> code;
  std::optional<std::string> message;
  [[nodiscard]] std::string description() const {
    if (!message) {
      return std::string(std::string_view(Subject)) + " failed with code " + code.value_or("unknown") + ".";
    }
    return code ? *message + " (" + *code + ")" : *message;
  }
  bool operator==(const FailedWithCode&) const = default;
};

/// A case of an error union.
template <typename Case>
concept ErrorCase = DescribesItself<Case> && requires {
  { Case::name } -> std::convertible_to<std::string_view>;
};

/// Writes the name and the description: `paymentFailed: "Payment failed with status parked."`.
template <ErrorCase Case>
std::ostream& operator<<(std::ostream& out, const Case& error) {
  support::showText(out, Case::name);
  support::showText(out, ": ");
  support::showLiteral(out, error.description());
  return out;
}

/// Whether `Case` is one of a variant's.
template <typename Case, typename Variant>
inline constexpr bool isCaseOf = false;
template <typename Case, typename... Cases>
inline constexpr bool isCaseOf<Case, std::variant<Cases...>> = (std::same_as<Case, Cases> || ...);

/// A `std::variant` of cases.
template <typename Variant>
class Union : public Variant {
 public:
  using Variant::Variant;

  /// The name of the case, as in "invalidRequest".
  [[nodiscard]] std::string_view name() const {
    return std::visit([](const auto& one) { return one.name; }, variant());
  }

  /// Returns true if it holds `Case` and the payloads are equal.
  template <typename Case>
    requires isCaseOf<Case, Variant>
  friend bool operator==(const Union& held, const Case& other) {
    const auto* one = std::get_if<Case>(&held.variant());
    return one != nullptr && *one == other;
  }

  /// Writes the case.
  friend std::ostream& operator<<(std::ostream& out, const Union& held) {
    return std::visit([&out](const auto& one) -> std::ostream& { return out << one; }, held.variant());
  }

 protected:
  [[nodiscard]] const Variant& variant() const { return *this; }
};

/// An error union: a `std::variant` of an operation's cases, which `Cases` lists as its `Variant`.
template <typename Cases>
class ErrorUnion : public Cases, public Union<typename Cases::Variant> {
 public:
  using typename Cases::Variant;
  using Union<Variant>::Union;

  /// What went wrong, as an English sentence for the host's developer.
  [[nodiscard]] std::string errorDescription() const {
    return std::visit([](const auto& one) -> std::string { return one.description(); }, this->variant());
  }
};

/// The operation ended otherwise than by a failure: the payment application called back, and this is what the
/// status of the callback means.
template <Text Name, typename Response>
struct Ended {
  static constexpr std::string_view name = Name;
  Response response;
  bool operator==(const Ended&) const = default;
  /// Writes "success(RESPONSE)".
  friend std::ostream& operator<<(std::ostream& out, const Ended& ended) {
    support::showText(out, name);
    support::showText(out, "(");
    out << ended.response;
    support::showText(out, ")");
    return out;
  }
};

template <typename Response>
using Success = Ended<"success", Response>;
template <typename Response>
using Cancelled = Ended<"cancelled", Response>;
template <typename Response>
using Declined = Ended<"declined", Response>;
template <typename Response>
using Initialized = Ended<"initialized", Response>;
template <typename Response>
using Masked = Ended<"masked", Response>;

/// The operation failed. There is a response if a callback came and its items could be read.
template <typename Response, typename Error>
struct Failure {
  static constexpr std::string_view name = "failure";
  Error error;
  std::optional<Response> response;
  bool operator==(const Failure&) const = default;
  /// Writes "failure(ERROR, RESPONSE)"; without a response "failure(ERROR)".
  friend std::ostream& operator<<(std::ostream& out, const Failure& failure) {
    support::showText(out, "failure(");
    out << failure.error;
    if (failure.response) {
      support::showText(out, ", ");
      out << *failure.response;
    }
    support::showText(out, ")");
    return out;
  }
};

/// The result of an operation: one of `Cases` with a response, or `Failure`.
template <typename ResponseType, typename ErrorType, template <typename> typename... Cases>
class ResultUnion : public Union<std::variant<Cases<ResponseType>..., Failure<ResponseType, ErrorType>>> {
 public:
  using Variant = std::variant<Cases<ResponseType>..., cases::Failure<ResponseType, ErrorType>>;
  using Union<Variant>::Union;
  using Response = ResponseType;
  using Error = ErrorType;
  using Failure = cases::Failure<ResponseType, ErrorType>;

  /// Returns the response; nothing if no callback came or its items could not be read.
  [[nodiscard]] std::optional<Response> response() const {
    return std::visit([](const auto& one) -> std::optional<Response> { return one.response; },
                      this->variant());
  }
};

}  // namespace cases

// For the cases that stand outside `cases`.
using cases::operator<<;

}  // namespace tilvanego
