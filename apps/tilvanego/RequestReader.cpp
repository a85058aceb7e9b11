#include "RequestReader.h"

#include <cstdint>

namespace tilvanego::program {

SendRequestTexts readSendRequest(FieldReader& line) {
  FieldReader fields = line.nested("sendRequest");
  auto texts = readFields<SendRequestTexts>(fields);
  line.refuseIf(fields.finish());
  return texts;
}

std::optional<PaymentLaunchTransport> readTransport(FieldReader& line) {
  constexpr auto wanted = R"("transport" must be "urlScheme", "gzip", "pasteboard" or {"automatic": N}.)";
  const JSONValue* value = line.find("transport");
  if (value == nullptr) return std::nullopt;
  if (const std::string* name = value->stringValue()) {
    if (*name == "urlScheme") return PaymentLaunchTransport::urlScheme();
    if (*name == "gzip") return PaymentLaunchTransport::gzip();
    if (*name == "pasteboard") return PaymentLaunchTransport::pasteboard();
  } else if (value->isDictionary()) {
    FieldReader fields = line.nested("transport");
    const auto longest = fields.get<std::int64_t>("automatic");
    line.refuseIf(fields.finish());
    return PaymentLaunchTransport::automatic(longest);
  }
  line.refuse(wanted);
  return std::nullopt;
}

}  // namespace tilvanego::program
