#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include <tilvanego/models/Amounts.h>
#include <tilvanego/models/Enumerations.h>
#include <tilvanego/models/Parties.h>
#include <tilvanego/models/Patterns.h>
#include <tilvanego/models/Record.h>
#include <tilvanego/models/Trace.h>
#include <tilvanego/values/Date.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

/// The processor's decision.
struct AuthResponse {
  std::optional<std::string> code = {};
  AuthMessageEnum message = AuthMessageEnum::unknownDefaultOpenApi;
  std::string processorMessage;
  std::optional<std::string> networkName = {};
  std::optional<AVSResponseCode> avsResponseCode = {};
  std::optional<CVV2ResponseCode> cvv2ResponseCode = {};

  enum class CodingKeys { code, message, processorMessage, networkName, avsResponseCode, cvv2ResponseCode };

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const AuthResponse&) const = default;
};

/// The parts of the card's data that may be shown.
struct CardResponse {
  std::optional<std::string> name = {};
  std::optional<CardBrand> brand = {};
  std::optional<std::string> bin = {};
  std::optional<std::string> last4 = {};
  std::optional<std::string> expiry = {};

  enum class CodingKeys { name, brand, bin, last4, expiry };

  static constexpr StringRule nameRule{.maxLength = 100};
  static constexpr StringRule last4Rule{.pattern = R"(/^\d{4}$/)"};
  static constexpr StringRule expiryRule{.pattern = R"(/^[0-9]{4}$/)"};
  static constexpr FieldRule rules[] = {
      {CodingKeys::name, nameRule}, {CodingKeys::last4, last4Rule}, {CodingKeys::expiry, expiryRule}};

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const CardResponse&) const = default;
};

/// A token that stands for a card.
struct VeilmarkCardToken {
  std::string osid;
  std::optional<std::string> cardNumber = {};
  std::optional<std::string> cardExpiration = {};

  enum class CodingKeys { osid, cardNumber, cardExpiration };

  bool operator==(const VeilmarkCardToken&) const = default;
};

/// The data of the card's chip (EMV). `entryMode` is any text here.
struct EmvDataResponse {
  std::optional<std::string> aid = {};
  std::optional<std::string> appLabel = {};
  std::optional<std::string> tvr = {};
  std::optional<std::string> tsi = {};
  std::optional<std::string> arc = {};
  std::optional<std::string> atc = {};
  std::optional<std::string> cryptogram = {};
  std::optional<std::string> entryMode = {};
  std::optional<bool> contactless = {};

  enum class CodingKeys { aid, appLabel, tvr, tsi, arc, atc, cryptogram, entryMode, contactless };

  bool operator==(const EmvDataResponse&) const = default;
};

/// The program of the card, derived from its first digits.
struct BinDataResponse {
  enum class Program {
    standard,
    unknown,
    healthcare,
    fleet,
    unknownDefaultOpenApi,
  };

  enum class ProgramCard {
    fsa,
    hsa,
    hra,
    unknownDefaultOpenApi,
  };

  std::optional<Program> program = {};
  std::optional<ProgramCard> programCard = {};

  enum class CodingKeys { program, programCard };

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const BinDataResponse&) const = default;
};

/// How the cardholder was verified.
struct CVM {
  enum class Method {
    signature,
    offlinePin,
    onlinePin,
    noCvmRequired,
    unknownDefaultOpenApi,
  };

  Method method = Method::unknownDefaultOpenApi;
  std::optional<std::string> signature = {};

  enum class CodingKeys { method, signature };

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const CVM&) const = default;
};

/// All data of one transaction. Every field is optional, so that partial results can be decoded.
struct TransactionResponse {
  std::optional<Status> status = {};
  std::optional<AmountsResponse> amounts = {};
  std::optional<Customer> customer = {};
  std::optional<std::string> description = {};
  std::optional<ShippingAddress> shippingAddress = {};
  std::optional<TraceResponse> trace = {};
  std::optional<std::string> reference = {};
  std::optional<std::string> osTokenReference = {};
  std::optional<std::string> transactionId = {};
  std::optional<VeilmarkCardToken> veilmarkToken = {};
  std::optional<CardResponse> card = {};
  std::optional<AuthResponse> auth = {};
  std::optional<EmvDataResponse> emv = {};
  std::optional<BinDataResponse> binData = {};
  std::optional<CVM> cvm = {};
  std::optional<TenderType> tenderType = {};

  enum class CodingKeys {
    status,
    amounts,
    customer,
    description,
    shippingAddress,
    trace,
    reference,
    osTokenReference,
    transactionId,
    veilmarkToken,
    card,
    auth,
    emv,
    binData,
    cvm,
    tenderType
  };

  static constexpr StringRule referenceRule{.pattern = detail::referencePattern};
  static constexpr StringRule osTokenReferenceRule{.pattern = detail::osTokenReferencePattern};
  static constexpr FieldRule rules[] = {{CodingKeys::reference, referenceRule},
                                        {CodingKeys::osTokenReference, osTokenReferenceRule}};

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const TransactionResponse&) const = default;
};

/// One row of a list of transactions. Unlike in a `TransactionResponse`, there are no nested records,
/// `authMessage` is any text and `entryMode` an enumeration.
struct ListTransactionResponseInstance {
  enum class TransactionType {
    sale,
    authorization,
    refund,
    credit,
    debit,
    store,
    force,
    reversal,
    balance,
    void_,
    _init,
    unknownDefaultOpenApi,
  };

  std::optional<Status> status = {};
  std::optional<std::string> transactionId = {};
  std::optional<std::string> authMessage = {};
  std::optional<std::string> authCode = {};
  std::optional<std::string> approvedAmount = {};
  std::optional<TransactionType> transactionType = {};
  std::optional<Date> timestamp = {};
  std::optional<std::string> reference = {};
  std::optional<std::string> cardType = {};
  std::optional<ResponseEntryMode> entryMode = {};
  std::optional<std::string> last4 = {};
  std::optional<std::string> osTokenReference = {};

  enum class CodingKeys {
    status,
    transactionId,
    authMessage,
    authCode,
    approvedAmount,
    transactionType,
    timestamp,
    reference,
    cardType,
    entryMode,
    last4,
    osTokenReference
  };

  static constexpr StringRule transactionIdRule{.pattern = detail::transactionIdPattern};
  static constexpr StringRule referenceRule{.pattern = detail::referencePattern};
  static constexpr StringRule osTokenReferenceRule{.pattern = detail::osTokenReferencePattern};
  static constexpr FieldRule rules[] = {{CodingKeys::transactionId, transactionIdRule},
                                        {CodingKeys::reference, referenceRule},
                                        {CodingKeys::osTokenReference, osTokenReferenceRule}};

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const ListTransactionResponseInstance&) const = default;
};

/// The state of the terminal.
struct StatusResponse {
  std::optional<std::string> serial = {};
  std::optional<std::string> modelName = {};
  std::optional<std::string> osVersion = {};
  std::optional<std::string> macAddress = {};
  std::optional<std::string> ipAddress = {};
  std::optional<std::int64_t> linesPerScreen = {};
  std::optional<std::int64_t> charsPerLine = {};
  std::optional<std::string> appVersion = {};
  std::optional<Date> timestamp = {};

  enum class CodingKeys {
    serial,
    modelName,
    osVersion,
    macAddress,
    ipAddress,
    linesPerScreen,
    charsPerLine,
    appVersion,
    timestamp
  };

  bool operator==(const StatusResponse&) const = default;
};

}  // namespace models

template <>
inline constexpr char models::capitalsSeparator<models::ListTransactionResponseInstance::TransactionType> =
    '_';

template <>
inline constexpr char models::capitalsSeparator<models::BinDataResponse::Program> = '_';

template <>
inline constexpr char models::capitalsSeparator<models::BinDataResponse::ProgramCard> = '_';

template <>
inline constexpr char models::capitalsSeparator<models::CVM::Method> = '_';

}  // namespace tilvanego
