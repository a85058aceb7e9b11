#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <tilvanego/facade/Pending.h>
#include <tilvanego/operations/Records.h>
#include <tilvanego/payment/PaymentRequest.h>
#include <tilvanego/payment/PaymentResult.h>

namespace tilvanego::detail {

/// A pending operation of one kind: all that the facade compiles once for each. `PendingOf.cpp` defines it.
template <OperationKind kind>
class PendingOf final : public Pending {
 public:
  using Request = typename OperationRecords<kind>::Request;
  using Result = typename OperationRecords<kind>::Result;
  using Completion = std::function<void(const Result& result)>;

  PendingOf(Request&& request, Completion&& completion,
            const std::optional<PaymentLaunchTransport>& launchedBy);
  [[nodiscard]] static std::shared_ptr<PendingOf> make(
      Request&& request, Completion&& completion,
      const std::optional<PaymentLaunchTransport>& launchedBy = std::nullopt);
  /// Of the request that a record has; null if it has none.
  [[nodiscard, gnu::cold]] static std::shared_ptr<PendingOf> resumed(const PendingRecord& record,
                                                                     Completion&& completion);

  /// The result that the items of `url` are, whichever transport they name. The expected request id and
  /// callback URL may be null. Returns nothing, and leaves `url` unchanged, if it isn't the callback URL.
  [[nodiscard]] static std::optional<Result> resultOfItems(URL&& url, const std::string* requestId,
                                                           const URL* callbackURL);
  [[nodiscard, gnu::cold]] static Result failure(typename Result::Error error);

  [[nodiscard]] const Request& request() const { return request_; }
  /// What `read` would pass on; nothing if `url` isn't the callback.
  [[nodiscard]] std::optional<Result> resultOf(URL&& url, const Platform& platform,
                                               const UnsealedListener& unsealed) const;

  [[nodiscard]] const std::string* requestId() const override;
  [[nodiscard]] const URL& callbackURL() const override;
  [[nodiscard]] std::string describe() const override;
  [[nodiscard]] std::optional<std::string_view> validate() const override;
  void addItems(LinkItems& items) const override;
  [[nodiscard]] PendingRecord toRecord() const override;
  bool read(URL&& url, const Platform& platform, const UnsealedListener& unsealed,
            const ResultUse& use) const override;
  bool readItems(URL&& url, const ResultUse& use) const override;
  [[nodiscard, gnu::cold]] std::optional<ExplainedResult> explainedResult(
      const URL& url, const Platform& platform) const override;
  void deliver(const void* result) override;
  [[gnu::cold]] void fail(const LaunchFailure& failure) override;
  void dropCompletion() override;

 private:
  Request request_;
  Completion completion_;
};

}  // namespace tilvanego::detail
