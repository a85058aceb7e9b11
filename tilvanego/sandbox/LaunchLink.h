#pragma once

#include <array>
#include <cstddef>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tilvanego/frame/OperationKind.h>
#include <tilvanego/sandbox/HandoffPorts.h>
#include <tilvanego/values/Decimal.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/RawText.h>
#include <tilvanego/values/URL.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] sandbox {

/// What a host can ask of a payment application.
using Operation = OperationKind;

/// How a request or an answer travels: in the items of its URL, in one compressed item, or sealed on the
/// pasteboard.
enum class Transport { url, gzip, pasteboard };

/// What is wrong: a sentence without its full stop. What it quotes is escaped, and never a secret.
struct SandboxError {
  std::string message;
  bool operator==(const SandboxError&) const = default;
};

/// A launch link as the payment application reads it. An immutable value, whose items are wiped from the
/// memory when it ends.
///
/// It is strict about what a host's library must send: an operation's items have to be there, once each, and
/// each value has to be one that the library lets through. Items that it doesn't know are kept and shown.
class LaunchLink {
 public:
  /// Bytes of the longest link that is read.
  static constexpr std::size_t maxLength = 1U << 20U;

  /// Reads a link of any operation, and the request that it carries compressed or names on the pasteboard of
  /// `ports`. Fails with the first thing that is wrong with it. A request on the pasteboard stays there, to
  /// be read again, unless it has expired.
  [[nodiscard]] static std::expected<LaunchLink, SandboxError> read(const URL& link,
                                                                    const HandoffPorts& ports = {});

  LaunchLink(const LaunchLink&) = default;
  LaunchLink(LaunchLink&&) noexcept = default;
  LaunchLink& operator=(LaunchLink other) noexcept;
  ~LaunchLink();

  [[nodiscard]] Operation operation() const { return operation_; }
  /// How the request came.
  [[nodiscard]] Transport transport() const { return transport_; }
  /// Never empty. Nothing only if the operation is a transaction list.
  [[nodiscard]] const std::optional<std::string>& requestId() const { return requestId_; }
  /// Where the answer goes; it has a scheme.
  [[nodiscard]] const URL& callbackURL() const { return callbackURL_; }
  /// The amount asked for; nothing if the operation has none.
  [[nodiscard]] const std::optional<Decimal>& amount() const { return amount_; }

  /// What was asked, item by item, in the order and by the names of a link that carries all in its query.
  [[nodiscard]] const std::vector<QueryItem>& items() const { return items_; }
  /// The value of an item, byte for byte by its name; nothing if there is none. Points into this object.
  [[nodiscard]] std::optional<std::string_view> item(std::string_view name) const;

  /// What was asked, for people: the operation, with its transport unless that is the URL, and one line for
  /// each item, "name: value". Control characters are escaped, and secrets are shown as "hidden".
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
struct tilvanego::RawTexts<tilvanego::sandbox::Transport> {
  using enum sandbox::Transport;
  static constexpr std::array table{
      std::pair{url, std::string_view("url")},
      std::pair{gzip, std::string_view("gzip")},
      std::pair{pasteboard, std::string_view("pasteboard")},
  };
};
