#pragma once

#include <expected>
#include <optional>
#include <vector>

#include <tilvanego/sandbox/LaunchLink.h>
#include <tilvanego/sandbox/Outcome.h>
#include <tilvanego/values/QueryItem.h>
#include <tilvanego/values/URL.h>

namespace tilvanego::sandbox {

/// The outcome that the request itself stands for: its amount decides, and what has none is approved.
[[nodiscard]] Outcome usualOutcome(const LaunchLink& link);

/// What the payment application has to say about a request: request id, status and the operation's own items,
/// in this order. Transaction ids and approval codes follow from the request, so that the same link is always
/// answered alike. `silent` says nothing, and `tampered` and `expired` say what `approve` does.
[[nodiscard]] std::vector<QueryItem> answerItems(const LaunchLink& link, Outcome outcome);

/// The callback URL with the answer: the host's own URL, its query and fragment included, and the answer's
/// items behind those that it has already. Nothing if the payment application stays silent.
///
/// Fails if the outcome can't be had: `tampered` and `expired` need an answer that doesn't travel in the
/// URL's items, `wrongId` a request with an id.
[[nodiscard]] std::expected<std::optional<URL>, SandboxError> answer(const LaunchLink& link, Outcome outcome);

}  // namespace tilvanego::sandbox
