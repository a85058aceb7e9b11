#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include <tilvanego/models/Patterns.h>
#include <tilvanego/models/Record.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

/// Cancels the current operation of the terminal.
struct CancelRequest {
  std::optional<std::int64_t> timeout = {};

  enum class CodingKeys { timeout };

  bool operator==(const CancelRequest&) const = default;
};

/// The result of a cancel.
struct CancelResponse {
  std::optional<std::string> status = {};

  enum class CodingKeys { status };

  static constexpr StringRule statusRule{.maxLength = 25, .pattern = R"(/^[a-zA-Z0-9]{1,25}$/)"};
  static constexpr FieldRule rules[] = {{CodingKeys::status, statusRule}};

  bool operator==(const CancelResponse&) const = default;
};

/// A command for the terminal, as text.
struct PoslinkRequest {
  std::optional<std::int64_t> timeout = {};
  std::string command;

  enum class CodingKeys { timeout, command };

  bool operator==(const PoslinkRequest&) const = default;
};

/// The terminal's response to a command.
struct PoslinkResponse {
  std::optional<std::string> response = {};

  enum class CodingKeys { response };

  bool operator==(const PoslinkResponse&) const = default;
};

/// Reboots the terminal through the HTTP interface.
struct ProcessPoiRebootRequest {
  std::optional<std::int64_t> timeout = {};
  std::optional<bool> allowOverride = {};
  std::optional<std::int64_t> delayInSeconds = {};

  enum class CodingKeys { timeout, allowOverride, delayInSeconds };

  static constexpr NumericRule<std::int64_t> delayInSecondsRule{.minimum = 0, .maximum = 60};
  static constexpr FieldRule rules[] = {{CodingKeys::delayInSeconds, delayInSecondsRule}};

  bool operator==(const ProcessPoiRebootRequest&) const = default;
};

/// Prints a receipt again. Its JSON key is "mmid", in the transaction requests it is "mmId".
struct ReprintReceiptRequest {
  enum class Copy {
    customer,
    merchant,
    unknownDefaultOpenApi,
  };

  enum class TransType {
    auth,
    capture,
    sale,
    refund,
    reversal,
    unknownDefaultOpenApi,
  };

  std::optional<std::int64_t> mmid = {};
  std::string transactionId;
  Copy copy = Copy::unknownDefaultOpenApi;
  std::optional<TransType> transType = {};
  std::optional<std::string> additionalInfo = {};

  enum class CodingKeys { mmid, transactionId, copy, transType, additionalInfo };

  static constexpr StringRule transactionIdRule{.pattern = detail::transactionIdPattern};
  static constexpr FieldRule rules[] = {{CodingKeys::transactionId, transactionIdRule}};

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const ReprintReceiptRequest&) const = default;
};

/// Prints any text.
struct CustomReceiptRequest {
  std::optional<std::int64_t> timeout = {};
  std::string content;

  enum class CodingKeys { timeout, content };

  bool operator==(const CustomReceiptRequest&) const = default;
};

/// The result of a print.
struct ReceiptResponse {
  std::optional<std::string> outcome = {};

  enum class CodingKeys { outcome };

  bool operator==(const ReceiptResponse&) const = default;
};

/// The style of a dialog.
struct ShowDialogStyle {
  /// The interface defines each colour in lower and in upper case, as two values.
  enum class TextColor {
    light,
    light2,
    dark,
    dark2,
    unknownDefaultOpenApi,
  };

  /// Each size in lower and in upper case, like the colours.
  enum class TextSize {
    small,
    small2,
    medium,
    medium2,
    large,
    large2,
    unknownDefaultOpenApi,
  };

  std::optional<std::string> backgroundColor = {};
  std::optional<TextColor> textColor = {};
  std::optional<TextSize> textSize = {};

  enum class CodingKeys { backgroundColor, textColor, textSize };

  static constexpr StringRule backgroundColorRule{
      .pattern = R"(/^#?([A-Fa-f0-9]{3}|[A-Fa-f0-9]{4}|[A-Fa-f0-9]{6}|[A-Fa-f0-9]{8})$/)"};
  static constexpr FieldRule rules[] = {{CodingKeys::backgroundColor, backgroundColorRule}};

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const ShowDialogStyle&) const = default;
};

/// Shows a dialog with up to four buttons.
struct ShowDialogRequest {
  std::optional<std::int64_t> timeout = {};
  std::string title;
  std::optional<std::string> button1 = {};
  std::optional<std::string> button2 = {};
  std::optional<std::string> button3 = {};
  std::optional<std::string> button4 = {};
  std::optional<std::string> body = {};
  std::optional<bool> requiresSignature = {};
  std::optional<ShowDialogStyle> style = {};

  enum class CodingKeys {
    timeout,
    title,
    button1,
    button2,
    button3,
    button4,
    body,
    requiresSignature,
    style
  };

  bool operator==(const ShowDialogRequest&) const = default;
};

/// The choice that was made in a dialog.
struct ShowDialogResponse {
  std::optional<std::string> selected = {};

  enum class CodingKeys { selected };

  bool operator==(const ShowDialogResponse&) const = default;
};

/// A signature that was drawn on the terminal.
struct CaptureSignatureResponse {
  std::optional<std::string> signature = {};

  enum class CodingKeys { signature };

  bool operator==(const CaptureSignatureResponse&) const = default;
};

}  // namespace models

template <>
inline constexpr bool models::namesAreOpenTexts<models::ReprintReceiptRequest::Copy> = true;

template <>
inline constexpr bool models::namesAreOpenTexts<models::ReprintReceiptRequest::TransType> = true;

template <>
struct RawTexts<models::ShowDialogStyle::TextColor>
    : models::OpenRawTexts<models::ShowDialogStyle::TextColor> {
  using enum models::ShowDialogStyle::TextColor;
  static constexpr std::array table{
      row(light, "light"), row(light2, "LIGHT"), row(dark, "dark"), row(dark2, "DARK"), fallbackRow,
  };
};

template <>
struct RawTexts<models::ShowDialogStyle::TextSize> : models::OpenRawTexts<models::ShowDialogStyle::TextSize> {
  using enum models::ShowDialogStyle::TextSize;
  static constexpr std::array table{
      row(small, "small"), row(small2, "SMALL"), row(medium, "medium"), row(medium2, "MEDIUM"),
      row(large, "large"), row(large2, "LARGE"), fallbackRow,
  };
};

}  // namespace tilvanego
