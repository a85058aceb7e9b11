#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <tilvanego/frame/RecordFields.h>
#include <tilvanego/payment/PaymentLaunchTransport.h>

#include "FieldReader.h"

/// Reads the requests of a script: each field by its name, by the public constructors.
namespace tilvanego::program {

template <typename Record>
concept RecordOfFields = DescribedFields<typename Record::Fields>;

/// Reads the record in the field `name` of `parent`. A fault is stored in `parent`.
template <RecordOfFields Record>
[[nodiscard]] Record readRecord(FieldReader& parent, std::string_view name);

template <typename T>
[[nodiscard]] T readField(FieldReader& fields, std::string_view name) {
  using Payload = typename OptionalPayload<T>::Type;
  if constexpr (RecordOfFields<Payload>) {
    if constexpr (OptionalPayload<T>::isOptional) {
      if (fields.find(name) == nullptr) return std::nullopt;
    }
    return readRecord<Payload>(fields, name);
  } else {
    return fields.get<T>(name);
  }
}

/// Reads the fields of one object, in their order.
template <DescribedFields Fields>
[[nodiscard]] Fields readFields(FieldReader& fields) {
  return [&]<std::size_t... index>(std::index_sequence<index...>) {
    return Fields{readField<FieldTypeOf<Fields, index>>(fields, fieldName<Fields, index>)...};
  }(std::make_index_sequence<Fields::fieldCount>());
}

template <RecordOfFields Record>
Record readRecord(FieldReader& parent, std::string_view name) {
  FieldReader fields = parent.nested(name);
  Record record(readFields<typename Record::Fields>(fields));
  parent.refuseIf(fields.finish());
  return record;
}

/// The seven texts of the older function that starts a payment.
struct SendRequestTexts {
  std::string requestId;
  std::string amount;
  std::string type;
  std::string currency;
  std::string returnUrl;
  std::string customId;
  std::string notes;

  static constexpr std::size_t fieldCount = 7;
};
[[nodiscard]] SendRequestTexts readSendRequest(FieldReader& line);

/// Reads the transport of a payment, if `line` has one.
[[nodiscard]] std::optional<PaymentLaunchTransport> readTransport(FieldReader& line);

}  // namespace tilvanego::program
