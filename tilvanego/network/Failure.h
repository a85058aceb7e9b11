#pragma once

#include <any>
#include <concepts>
#include <string>
#include <type_traits>
#include <utility>

namespace [[gnu::visibility("default")]] tilvanego {

/// What can go into a `Failure`: a copyable value that says what went wrong in one line. That it is copyable
/// isn't asked here, since a cause may hold a `Failure` itself.
template <typename Cause>
concept FailureCause = requires(const Cause& cause) {
  { cause.description() } -> std::convertible_to<std::string>;
};

/// Any failure that the HTTP client runtime hands on unchanged: the session's, the JSON layer's, an
/// interceptor's own. A host asks for the type that it expects with `as`.
class Failure {
 public:
  // Asked in this order, and by the concept for `description` first: whether a `Failure`, or an expected
  // value with one, can be copied would ask for this constructor again.
  template <typename Cause>
    requires(!std::same_as<std::remove_cvref_t<Cause>, Failure>) && FailureCause<Cause>
  Failure(Cause cause)
      : cause_(std::move(cause)), describe_([](const std::any& held) {
          return std::string(std::any_cast<const Cause&>(held).description());
        }) {}

  /// The cause if it is of exactly this type, else null; valid as long as this object.
  template <typename Cause>
  [[nodiscard]] const Cause* as() const {
    return std::any_cast<Cause>(&cause_);
  }

  /// One line for a developer. Shows no credential and no body.
  [[nodiscard]] std::string description() const { return describe_(cause_); }

 private:
  std::any cause_;
  std::string (*describe_)(const std::any&);
};

}  // namespace tilvanego
