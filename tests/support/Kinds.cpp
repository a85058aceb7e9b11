#include "tests/support/Kinds.h"

namespace tilvanego::test {
namespace {

template <OperationKind kind>
constexpr Kind row(std::string_view inProgress, std::string_view words) {
  constexpr auto& functions = operationFunctions<kind>;
  return {
      .name = rawText(kind),
      .start =
          [](TestHost& host, const URL& url) {
            ((*host.sdk).*operationFunctions<kind>.start)(fullRequest<kind>(url),
                                                          noting(host, rawText(kind)));
          },
      .isInProgress = functions.isInProgress,
      .cancel = functions.cancel,
      .isCallback = functions.isCallback,
      .result = [](const TestHost& host,
                   const URL& url) { return summary(((*host.sdk).*operationFunctions<kind>.result)(url)); },
      .parse =
          [](const URL& url) {
            return summary(operationFunctions<kind>.parse(url, std::nullopt, std::nullopt));
          },
      .inProgress = inProgress,
      .words = words,
  };
}

using enum OperationKind;
constexpr std::array kinds{
    row<initialization>("An initialization is already in progress.", "initialization"),
    row<transactionList>("A transaction list request is already in progress.", "transaction list"),
    row<fullRefund>("A full refund request is already in progress.", "full refund"),
    row<partialRefund>("A partial refund request is already in progress.", "partial refund"),
    row<capture>("A capture request is already in progress.", "capture"),
    row<clearData>("A clear data request is already in progress.", "clear data"),
    row<reboot>("A reboot request is already in progress.", "reboot"),
    row<save>("A save request is already in progress.", "save"),
    row<payment>("A payment is already in progress.", "payment"),
};
static_assert(kinds.size() == operationKinds.size());

}  // namespace

std::span<const Kind> allKinds() { return kinds; }

const Kind& kindNamed(std::string_view name) { return *std::ranges::find(kinds, name, &Kind::name); }

}  // namespace tilvanego::test
