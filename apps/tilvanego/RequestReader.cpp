#include "RequestReader.h"

#include <cstdint>

#include <tilvanego/payment/PaymentCredentials.h>
#include <tilvanego/payment/PaymentTransactionType.h>

namespace tilvanego::program {
namespace {

PaymentCredentials readCredentials(FieldReader& request) {
  FieldReader fields(request.object("credentials"), "request.credentials.");
  PaymentCredentials credentials({
      .basicToken = fields.get<std::string>("basicToken"),
      .accountId = fields.get<std::string>("accountId"),
      .environment = fields.get<std::string>("environment"),
  });
  request.refuseIf(fields.finish());
  return credentials;
}

std::optional<PaymentCredentials> readOptionalCredentials(FieldReader& request) {
  if (request.find("credentials") == nullptr) return std::nullopt;
  return readCredentials(request);
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
      .credentials = readOptionalCredentials(fields),
      .requiresReaderReady = fields.get<bool>("requiresReaderReady"),
  });
}

InitializationRequest RequestReader<InitializationRequest>::read(FieldReader& fields) {
  return InitializationRequest({
      .requestId = fields.get<std::string>("requestId"),
      .callbackURL = fields.get<URL>("callbackURL"),
      .sourceApplication = fields.get<std::string>("sourceApplication"),
      .basicToken = fields.get<std::optional<std::string>>("basicToken"),
      .accountId = fields.get<std::optional<std::string>>("accountId"),
      .environment = fields.get<std::optional<std::string>>("environment"),
      .basePath = fields.get<std::optional<std::string>>("basePath"),
  });
}

TransactionListRequest RequestReader<TransactionListRequest>::read(FieldReader& fields) {
  return TransactionListRequest({
      .requestId = fields.get<std::optional<std::string>>("requestId"),
      .callbackURL = fields.get<URL>("callbackURL"),
  });
}

FullRefundRequest RequestReader<FullRefundRequest>::read(FieldReader& fields) {
  return FullRefundRequest({
      .requestId = fields.get<std::string>("requestId"),
      .transactionId = fields.get<std::string>("transactionId"),
      .callbackURL = fields.get<URL>("callbackURL"),
      .credentials = readCredentials(fields),
  });
}

PartialRefundRequest RequestReader<PartialRefundRequest>::read(FieldReader& fields) {
  return PartialRefundRequest({
      .requestId = fields.get<std::string>("requestId"),
      .transactionId = fields.get<std::string>("transactionId"),
      .amount = fields.get<Decimal>("amount"),
      .callbackURL = fields.get<URL>("callbackURL"),
      .credentials = readCredentials(fields),
  });
}

CaptureRequest RequestReader<CaptureRequest>::read(FieldReader& fields) {
  return CaptureRequest({
      .requestId = fields.get<std::string>("requestId"),
      .transactionId = fields.get<std::string>("transactionId"),
      .amount = fields.get<std::string>("amount"),
      .callbackURL = fields.get<URL>("callbackURL"),
  });
}

ClearDataRequest RequestReader<ClearDataRequest>::read(FieldReader& fields) {
  return ClearDataRequest({
      .requestId = fields.get<std::string>("requestId"),
      .callbackURL = fields.get<URL>("callbackURL"),
      .amount = fields.get<std::optional<Decimal>>("amount"),
      .timeout = fields.get<std::optional<std::int64_t>>("timeout"),
  });
}

RebootRequest RequestReader<RebootRequest>::read(FieldReader& fields) {
  return RebootRequest({
      .requestId = fields.get<std::string>("requestId"),
      .callbackURL = fields.get<URL>("callbackURL"),
  });
}

SaveRequest RequestReader<SaveRequest>::read(FieldReader& fields) {
  return SaveRequest({
      .requestId = fields.get<std::string>("requestId"),
      .callbackURL = fields.get<URL>("callbackURL"),
      .currency = fields.get<std::string>("currency"),
      .customId = fields.get<std::optional<std::string>>("customId"),
      .notes = fields.get<std::optional<std::string>>("notes"),
      .credentials = readOptionalCredentials(fields),
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
