#pragma once

#include <any>
#include <concepts>
#include <string>
#include <type_traits>
#include <utility>

#include <tilvanego/values/Lifetime.h>
#include <tilvanego/values/Shown.h>

namespace [[gnu::visibility("default")]] tilvanego {

/// A type that a `Failure` can hold. It must be copyable and must define `description()`, which returns one
/// line of text. The concept doesn't check that it is copyable, because a cause may hold a `Failure` itself.
template <typename Cause>
concept FailureCause = requires(const Cause& cause) {
  { cause.description() } -> std::convertible_to<std::string>;
};

/// A failure of any type: of the session, of JSON decoding, of an interceptor of the host. The HTTP client
/// passes it on unchanged. Use `as` to get the cause by its type.
class Failure {
 public:
  // The order of the two constraints matters: a check whether a `Failure` is copyable would need this
  // constructor again.
  template <typename Cause>
    requires(!std::same_as<std::remove_cvref_t<Cause>, Failure>) && FailureCause<Cause>
  Failure(Cause cause)
      : cause_(std::move(cause)), describe_([](const std::any& held) {
          return std::string(std::any_cast<const Cause&>(held).description());
        }) {}

  /// Returns a failure with this cause, which must never be destroyed. Needs no memory: it is for a lack of
  /// that.
  template <FailureCause Cause>
  [[nodiscard]] static Failure ofStatic(const Cause& cause) noexcept {
    return {std::any(&cause), [](const std::any& held) {
              return std::string((*std::any_cast<const Cause*>(&held))->description());
            }};
  }

  /// Returns the cause if it has exactly this type, else null. The pointer is valid as long as this object.
  template <typename Cause>
  [[nodiscard]] const Cause* as() const TILVANEGO_LIFETIMEBOUND {
    if (const auto* const found = std::any_cast<const Cause*>(&cause_)) return *found;
    return std::any_cast<Cause>(&cause_);
  }

  /// One line for a developer. The library's own causes show no credential and no body.
  [[nodiscard]] std::string description() const { return describe_(cause_); }

 private:
  Failure(std::any cause, std::string (*describe)(const std::any&))
      : cause_(std::move(cause)), describe_(describe) {}

  std::any cause_;
  std::string (*describe_)(const std::any&);
};

}  // namespace tilvanego
