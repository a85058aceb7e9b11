#include "RequestReader.h"

#include <cstdint>

#include <tilvanego/payment/PaymentTransactionType.h>

namespace tilvanego::program {
namespace {

std::optional<PaymentCredentials> readCredentials(FieldReader& request) {
  if (request.find("credentials") == nullptr) return std::nullopt;
  FieldReader fields(request.object("credentials"), "request.credentials.");
  PaymentCredentials credentials({
      .basicToken = fields.get<std::string>("basicToken"),
      .accountId = fields.get<std::string>("accountId"),
      .environment = fields.get<std::string>("environment"),
  });
  request.refuseIf(fields.finish());
  return credentials;
}

}  // namespace

PaymentRequest RequestReader<PaymentRequest>::read(FieldReader& fields) {
  return PaymentRequest({
      .requestId = fields.get<std::string>("requestId"),
      .amount = fields.get<Decimal>("amount"),
      .tip = fields.get<std::optional<Decimal>>("tip"),
      .transactionType = fields.get<PaymentTransactionType>("transactionType"),
      .currency = fields.get<std::string>("currency"),
      .callbackURL = fields.get<URL>("callbackURL"),
      .customId = fields.get<std::optional<std::string>>("customId"),
      .notes = fields.get<std::optional<std::string>>("notes"),
      .credentials = readCredentials(fields),
      .requiresReaderReady = fields.get<bool>("requiresReaderReady"),
  });
}

SendRequestTexts readSendRequest(FieldReader& line) {
  FieldReader fields(line.object("sendRequest"), "sendRequest.");
  SendRequestTexts texts{
      .requestId = fields.get<std::string>("requestId"),
      .amount = fields.get<std::string>("amount"),
      .type = fields.get<std::string>("type"),
      .currency = fields.get<std::string>("currency"),
      .returnUrl = fields.get<std::string>("returnUrl"),
      .customId = fields.get<std::string>("customId"),
      .notes = fields.get<std::string>("notes"),
  };
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
    FieldReader fields(*value->dictionaryValue(), "transport.");
    const auto longest = fields.get<std::int64_t>("automatic");
    line.refuseIf(fields.finish());
    return PaymentLaunchTransport::automatic(longest);
  }
  line.refuse(wanted);
  return std::nullopt;
}

}  // namespace tilvanego::program
