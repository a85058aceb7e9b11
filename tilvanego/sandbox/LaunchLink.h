#pragma once

#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/json/CodingKeys.h>
#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

// Enumerations write their raw texts.
using tilvanego::operator<<;

/// What a host can ask of a payment application.
using Operation = OperationKind;

/// The transport of a request or a response: in the items of its URL, in one compressed item, or sealed on
/// the pasteboard.
enum class Transport { url, gzip, pasteboard };

/// What is wrong: a sentence without a full stop. Quoted text is escaped, and no secret is quoted.
struct SandboxError {
  std::string message;
  bool operator==(const SandboxError&) const = default;
};

/// A launch link as the payment application reads it. An immutable value; its destructor wipes its items.
///
/// It accepts only what the host's library sends: each item of the operation must be present once, with a
/// value that the library allows. Unknown items are kept and shown.
class LaunchLink {
 public:
  /// The maximum length of a link, in bytes.
  static constexpr std::size_t maxLength = 1U << 20U;

  /// Reads a link of any operation, also with a request that it carries compressed or names on the pasteboard
  /// of `ports`. Fails with the first fault of the link. A request on the pasteboard stays there and can be
  /// read again, unless it has expired.
  [[nodiscard]] static std::expected<LaunchLink, SandboxError> read(const URL& link,
                                                                    const HandoffPorts& ports = {});

  LaunchLink(const LaunchLink&) = default;
  LaunchLink(LaunchLink&&) noexcept = default;
  LaunchLink& operator=(LaunchLink other) noexcept;
  ~LaunchLink();

  [[nodiscard]] Operation operation() const { return operation_; }
  /// The transport of the request.
  [[nodiscard]] Transport transport() const { return transport_; }
  /// Never an empty text. Only a transaction list may have none.
  [[nodiscard]] const std::optional<std::string>& requestId() const { return requestId_; }
  /// The URL for the response; it has a scheme.
  [[nodiscard]] const URL& callbackURL() const { return callbackURL_; }
  /// The amount; nothing if the operation has none.
  [[nodiscard]] const std::optional<Decimal>& amount() const { return amount_; }

  /// The items of the request, with the names and in the order of a link that carries them in its query.
  [[nodiscard]] const std::vector<QueryItem>& items() const { return items_; }
  /// The value of the item with exactly this name; nothing if there is none. The view points into this
  /// object.
  [[nodiscard]] std::optional<std::string_view> item(std::string_view name) const;

  /// The request for a reader: a line with the operation, and its transport unless that is the URL; then a
  /// line "name: value" for each item. Control characters are escaped, and secrets are shown as "hidden",
  /// those in the return URL as "<redacted>".
  [[nodiscard]] std::vector<std::string> lines() const;

  bool operator==(const LaunchLink&) const = default;

 private:
  LaunchLink(Operation operation, Transport transport, URL callbackURL)
      : operation_(operation), transport_(transport), callbackURL_(std::move(callbackURL)) {}

  Operation operation_;
  Transport transport_;
  URL callbackURL_;
  std::optional<std::string> requestId_;
  std::optional<Decimal> amount_;
  std::vector<QueryItem> items_;
};

}  // namespace sandbox
}  // namespace tilvanego

template <>
inline constexpr bool tilvanego::json::namesAreTexts<tilvanego::sandbox::Transport> = true;
