#include <tilvanego/facade/PendingOf.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <variant>

#include <tilvanego/frame/CallbackParser.h>
#include <tilvanego/operations/Operations.h>
#include <tilvanego/transports/PaymentTransports.h>

namespace tilvanego::detail {
namespace {

template <typename Operation>
typename Operation::Error errorFor(const LaunchFailure& failure) {
  if (const auto* invalid = std::get_if<cases::InvalidRequest>(&failure)) return *invalid;
  if constexpr (Operation::kind == OperationKind::payment) {
    if (const auto* error = std::get_if<PaymentError>(&failure)) return *error;
  }
  if (std::holds_alternative<Blocked>(failure)) return typename Operation::InProgress{};
  return typename Operation::AppNotInstalled{};
}

template <typename Operation>
ExplainedResult explained(const typename Operation::Result& result) {
  ExplainedResult all;
  all.name = result.name();
  const typename Operation::Response* response = nullptr;
  if (const auto* failure = std::get_if<typename Operation::Result::Failure>(&result)) {
    all.error = failure->error.name();
    all.errorDescription = failure->error.errorDescription();
  }
  std::visit(
      [&](const auto& one) {
        if constexpr (requires { one.error; }) {
          response = one.response ? &*one.response : nullptr;
        } else {
          response = &one.response;
        }
      },
      static_cast<const typename Operation::Result::Variant&>(result));
  if (response != nullptr) {
    all.callbackURL = response->callbackURL();
    all.status = response->status();
  }
  return all;
}

template <typename... Operations>
consteval auto flagsOf(OperationList<Operations...>) {
  std::array<bool, operationKinds.size()> flags{};
  ((flags[static_cast<std::size_t>(Operations::kind)] = true), ...);
  return flags;
}

template <typename Operation>
constexpr OperationType typeOf{
    .kind = Operation::kind,
    .texts = Operation::texts,
    .isBlockedBy = flagsOf(typename BlockersOf<Operation>::List{}),
    .passesOnUnmatched = passesOnUnmatched<Operation>,
    .callbackWords = callbackWords<Operation>,
    .explainedResult =
        [](const URL& url) {
          return explained<Operation>(*PendingOf<Operation::kind>::resultOfItems(URL(url), nullptr, nullptr));
        },
    .recordFrom = [](const JSONValue::Dictionary& request,
                     const std::optional<PaymentLaunchTransport>& transport,
                     const Date& startedAt) -> std::optional<PendingRecord> {
      const auto restored = restoredRequest<typename Operation::Request>(request);
      if (!restored) return std::nullopt;
      return pendingRecord(*restored, transport, startedAt);
    }};

const std::string* pointerTo(const std::string& id) { return &id; }
const std::string* pointerTo(const std::optional<std::string>& id) { return id ? &*id : nullptr; }

}  // namespace

const OperationType& operationType(OperationKind kind) {
  static constexpr auto all = []<std::size_t... index>(std::index_sequence<index...>) {
    return std::array{&typeOf<OperationOf<operationKinds[index]>>...};
  }(std::make_index_sequence<operationKinds.size()>());
  return *all[static_cast<std::size_t>(kind)];
}

template <OperationKind kind>
PendingOf<kind>::PendingOf(Request&& request, Completion&& completion,
                           const std::optional<PaymentLaunchTransport>& launchedBy)
    : Pending(typeOf<OperationOf<kind>>, launchedBy),
      request_(std::move(request)),
      completion_(std::move(completion)) {}

template <OperationKind kind>
std::shared_ptr<PendingOf<kind>> PendingOf<kind>::make(
    Request&& request, Completion&& completion, const std::optional<PaymentLaunchTransport>& launchedBy) {
  return std::make_shared<PendingOf>(std::move(request), std::move(completion), launchedBy);
}

template <OperationKind kind>
std::shared_ptr<PendingOf<kind>> PendingOf<kind>::resumed(const PendingRecord& record,
                                                          Completion&& completion) {
  auto request = restoredRequest<Request>(record.request);
  if (!request) return nullptr;
  auto pending = make(*std::move(request), std::move(completion), record.transport);
  pending->startedAt = record.startedAt;
  pending->isDelivering = record.callback.has_value();
  return pending;
}

template <OperationKind kind>
auto PendingOf<kind>::resultOfItems(URL&& url, const std::string* requestId, const URL* callbackURL)
    -> std::optional<Result> {
  return parseCallback<OperationOf<kind>>(std::move(url), requestId, callbackURL);
}

template <OperationKind kind>
auto PendingOf<kind>::failure(typename Result::Error error) -> Result {
  return typename Result::Failure{std::move(error), std::nullopt};
}

template <OperationKind kind>
auto PendingOf<kind>::resultOf(URL&& url, const Platform& platform, const UnsealedListener& unsealed) const
    -> std::optional<Result> {
  if constexpr (kind == OperationKind::payment) {
    return paymentResult(std::move(url), request_, platform, unsealed);
  } else {
    return resultOfItems(std::move(url), requestId(), &callbackURL());
  }
}

template <OperationKind kind>
const std::string* PendingOf<kind>::requestId() const {
  return pointerTo(request_.requestId());
}

template <OperationKind kind>
const URL& PendingOf<kind>::callbackURL() const {
  return request_.callbackURL();
}

template <OperationKind kind>
std::string PendingOf<kind>::describe() const {
  return OperationOf<kind>::describe(request_);
}

template <OperationKind kind>
std::optional<std::string_view> PendingOf<kind>::validate() const {
  return OperationOf<kind>::validate(request_);
}

template <OperationKind kind>
void PendingOf<kind>::addItems(LinkItems& items) const {
  OperationOf<kind>::addItems(request_, items);
}

template <OperationKind kind>
PendingRecord PendingOf<kind>::toRecord() const {
  return pendingRecord(request_, transport, startedAt);
}

template <OperationKind kind>
bool PendingOf<kind>::read(URL&& url, const Platform& platform, const UnsealedListener& unsealed,
                           const ResultUse& use) const {
  const auto result = resultOf(std::move(url), platform, unsealed);
  return result && use(&*result);
}

template <OperationKind kind>
bool PendingOf<kind>::readItems(URL&& url, const ResultUse& use) const {
  const auto result = resultOfItems(std::move(url), requestId(), &callbackURL());
  return result && use(&*result);
}

template <OperationKind kind>
std::optional<ExplainedResult> PendingOf<kind>::explainedResult(const URL& url,
                                                                const Platform& platform) const {
  const auto result = resultOf(URL(url), platform, {});
  return result ? std::optional(explained<OperationOf<kind>>(*result)) : std::nullopt;
}

template <OperationKind kind>
void PendingOf<kind>::deliver(const void* result) {
  const auto completion = std::exchange(completion_, nullptr);
  if (completion) completion(*static_cast<const Result*>(result));
}

template <OperationKind kind>
void PendingOf<kind>::fail(const LaunchFailure& failure) {
  const Result result = PendingOf::failure(errorFor<OperationOf<kind>>(failure));
  deliver(&result);
}

template <OperationKind kind>
void PendingOf<kind>::dropCompletion() {
  // What it captured may call the library when it ends.
  const auto dropped = std::exchange(completion_, nullptr);
}

template class PendingOf<OperationKind::payment>;
template class PendingOf<OperationKind::initialization>;
template class PendingOf<OperationKind::transactionList>;
template class PendingOf<OperationKind::fullRefund>;
template class PendingOf<OperationKind::partialRefund>;
template class PendingOf<OperationKind::capture>;
template class PendingOf<OperationKind::clearData>;
template class PendingOf<OperationKind::reboot>;
template class PendingOf<OperationKind::save>;

}  // namespace tilvanego::detail
