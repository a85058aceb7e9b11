#include <tilvanego/http_client/DecodableRequestBuilderError.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

struct Description {
  using Cases = DecodableRequestBuilderErrorCases;
  std::string operator()(const Cases::JsonDecoding& one) const { return one.failure.description(); }
  std::string operator()(const Cases::GeneralError& one) const { return one.failure.description(); }
  std::string operator()(const Cases::EmptyDataResponse&) const { return "the answer has no body"; }
  std::string operator()(const Cases::NilHTTPResponse&) const { return "the answer is no HTTP response"; }
  std::string operator()(const Cases::UnsuccessfulHTTPStatusCode&) const {
    return "the HTTP status says that the request didn't succeed";
  }
};

}  // namespace

std::string DecodableRequestBuilderError::description() const { return std::visit(Description(), value_); }

}  // namespace tilvanego
