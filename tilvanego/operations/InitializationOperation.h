#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

#include <tilvanego/frame/CommonTables.h>
#include <tilvanego/frame/Link.h>
#include <tilvanego/frame/Operation.h>
#include <tilvanego/operations/Initialization.h>

namespace tilvanego::detail {

/// The description of the initialization.
struct InitializationOperation : OperationTypes<OperationKind::initialization> {
  static constexpr OperationTexts texts{
      .sending = "Sending Initialization Request - [",
      .buildFailure = "Unable to build Tilvane initialization URL.",
      .opening = "Opening Tilvane payment app for initialization.",
      .urlLabel = "InitializationURL: ",
      .target = launchTarget("/v1/initialize"),
      .unmatchedCallback = "Ignored callback that did not match the active initialization return URL.",
  };
  using InProgress = Error::InitializationInProgress;
  using AppNotInstalled = Error::InitializationAppNotInstalled;
  static constexpr bool passesOnUnmatched = true;

  [[nodiscard]] static std::string describe(const Request& request);
  [[nodiscard]] static std::optional<std::string_view> validate(const Request& request);
  static void addItems(const Request& request, LinkItems& items);

  static constexpr std::array callbackKeys{
      requestIdKey<Fields>,
      statusKey<Fields>,
      textKey<Fields, &Fields::message>("message", "processor_message", "processorMessage", "error"),
  };
  static constexpr CallbackKeyIndex callbackKeyIndex{callbackKeys};

  static constexpr std::array statusWords{wordsFor<Result, Result::Initialized>("initialized")};
  [[nodiscard]] static Error failed(const Fields& callback) {
    return Error::InitializationFailed{callback.status};
  }
};

template <>
struct OperationOf<OperationKind::initialization> : std::type_identity<InitializationOperation> {};

}  // namespace tilvanego::detail
