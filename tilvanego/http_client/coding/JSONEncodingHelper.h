#pragma once

#include <optional>

#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/http_client/encodings/AnyValue.h>
#include <tilvanego/http_client/encodings/JSONDataEncoding.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace support {

/// Prints the failure's description as one line on standard output.
void printEncodingFailure(const JSONError& failure);

}  // namespace support

/// Creates the parameters of a request with a JSON body. A host may derive from it to replace
/// `encodingParameters`.
class JSONEncodingHelper {
 public:
  /// Encodes the value and returns parameters for a `JSONDataEncoding`. Returns no value, so that the request
  /// has no body, if there is no object or if it can't be encoded; the reason is printed on standard output.
  template <typename T>
  [[nodiscard]] static std::optional<Parameters> encodingParameters(const std::optional<T>& encodableObject,
                                                                    const CodableHelper& codableHelper) {
    if (!encodableObject) return std::nullopt;
    return encodingParameters(*encodableObject, codableHelper);
  }
  template <typename T>
  [[nodiscard]] static std::optional<Parameters> encodingParameters(const T& encodableObject,
                                                                    const CodableHelper& codableHelper) {
    auto body = codableHelper.encode(encodableObject);
    if (body) return JSONDataEncoding::encodingParameters(*std::move(body));
    support::printEncodingFailure(body.error());
    return std::nullopt;
  }
};

}  // namespace tilvanego
