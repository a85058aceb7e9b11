#include "ModelBody.h"

#include <any>
#include <optional>
#include <string>
#include <utility>

#include <tilvanego/http_client/DecodableRequestBuilderError.h>
#include <tilvanego/models/Catalogue.h>

namespace tilvanego::program {

bool isModel(std::string_view name) { return models::findRecordType(name) != nullptr; }

ModelBuilder::ModelBuilder(Construction construction, std::shared_ptr<URLSessionProtocol> session,
                           std::string_view name)
    : RequestBuilderWithSession(std::move(construction), std::move(session)),
      record_(*models::findRecordType(name)) {}

void ModelBuilder::processRequestResponse(const URLSessionExchange& exchange, const HTTPURLResponse& response,
                                          const std::optional<Failure>&, const Completion& completion) {
  using Cases = DecodableRequestBuilderError;
  const int status = response.statusCode();
  if (!exchange.data || exchange.data->empty()) {
    return fail(exchange, status, std::nullopt, Cases(Cases::EmptyDataResponse()), completion);
  }
  const auto record = record_.decode(exchange.data->text());
  if (!record) return fail(exchange, status, exchange.data, record.error(), completion);
  const auto text = record->encode({.sortedKeys = true, .pretty = true});
  if (!text) return fail(exchange, status, exchange.data, text.error(), completion);
  succeed(exchange, response, *text + "\n", completion);
}

}  // namespace tilvanego::program
