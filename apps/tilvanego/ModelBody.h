#pragma once

#include <memory>
#include <string_view>

#include <tilvanego/http_client/RequestBuilderWithSession.h>

namespace tilvanego::models {
struct RecordType;
}

namespace tilvanego::program {

/// Whether the models have a record of this name.
[[nodiscard]] bool isModel(std::string_view name);

/// A builder for records whose type is known only from the command line. Its body, a `std::string`, is the
/// response's record as JSON: pretty, with sorted keys.
class ModelBuilder final : public RequestBuilderWithSession<URLSessionDecodableRequestBuilder> {
 public:
  /// Requires `isModel(name)`.
  ModelBuilder(Construction construction, std::shared_ptr<URLSessionProtocol> session, std::string_view name);

  void processRequestResponse(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                              const std::optional<Failure>& error, const Completion& completion) override;

 private:
  const models::RecordType& record_;
};

}  // namespace tilvanego::program
