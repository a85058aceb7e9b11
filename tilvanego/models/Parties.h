#pragma once

#include <optional>
#include <string>

#include <tilvanego/models/Patterns.h>
#include <tilvanego/models/Record.h>
#include <tilvanego/vocabulary/SharedEnumerations.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace [[gnu::visibility("default")]] models {

/// A postal address; the country is optional.
struct Address {
  std::string address1;
  std::optional<std::string> address2 = {};
  std::string city;
  std::string state;
  std::string zip;
  std::optional<std::string> country = {};
  std::optional<std::string> company = {};

  enum class CodingKeys { address1, address2, city, state, zip, country, company };

  bool operator==(const Address&) const = default;
};

/// A delivery address. Unlike in an `Address`, the country and a recipient are required.
struct ShippingAddress {
  std::string address1;
  std::optional<std::string> address2 = {};
  std::string city;
  std::string state;
  std::string zip;
  std::string country;
  std::optional<std::string> company = {};
  std::string recipient;
  std::optional<std::string> recipientPhone = {};
  std::optional<std::string> recipientEmail = {};

  enum class CodingKeys {
    address1,
    address2,
    city,
    state,
    zip,
    country,
    company,
    recipient,
    recipientPhone,
    recipientEmail
  };

  bool operator==(const ShippingAddress&) const = default;
};

/// The customer who pays.
struct Customer {
  std::optional<std::string> name = {};
  std::optional<std::string> email = {};
  std::optional<std::string> phone = {};
  std::optional<Address> billingAddress = {};

  enum class CodingKeys { name, email, phone, billingAddress };

  static constexpr StringRule nameRule{.maxLength = 100};
  static constexpr StringRule phoneRule{.pattern = R"(/\+\d{6,16}$/)"};
  static constexpr FieldRule rules[] = {{CodingKeys::name, nameRule}, {CodingKeys::phone, phoneRule}};

  bool operator==(const Customer&) const = default;
};

/// A location, with its coordinates as texts.
struct GpsLocation {
  std::string latitude;
  std::string longitude;
  std::optional<std::string> accuracy = {};

  enum class CodingKeys { latitude, longitude, accuracy };

  bool operator==(const GpsLocation&) const = default;
};

/// The amounts of a sale that a health benefit pays: the total and the amount of each category.
struct Healthcare {
  std::optional<std::string> totalAmount = {};
  std::optional<std::string> prescription = {};
  std::optional<std::string> vision = {};
  std::optional<std::string> dental = {};
  std::optional<std::string> clinical = {};
  std::optional<std::string> copay = {};
  std::optional<std::string> transit = {};

  enum class CodingKeys { totalAmount, prescription, vision, dental, clinical, copay, transit };

  static constexpr StringRule totalAmountRule{.pattern = detail::amountPattern};
  static constexpr StringRule prescriptionRule{.pattern = detail::amountPattern};
  static constexpr StringRule visionRule{.pattern = detail::amountPattern};
  static constexpr StringRule dentalRule{.pattern = detail::amountPattern};
  static constexpr StringRule clinicalRule{.pattern = detail::amountPattern};
  static constexpr StringRule copayRule{.pattern = detail::amountPattern};
  static constexpr StringRule transitRule{.pattern = detail::amountPattern};
  static constexpr FieldRule rules[] = {
      {CodingKeys::totalAmount, totalAmountRule}, {CodingKeys::prescription, prescriptionRule},
      {CodingKeys::vision, visionRule},           {CodingKeys::dental, dentalRule},
      {CodingKeys::clinical, clinicalRule},       {CodingKeys::copay, copayRule},
      {CodingKeys::transit, transitRule}};

  bool operator==(const Healthcare&) const = default;
};

/// An electronic benefit transfer. The voucher's number is optional for every type.
struct EBT {
  enum class ModelType {
    cash,
    voucher,
    food,
    unknownDefaultOpenApi,
  };

  ModelType type = ModelType::unknownDefaultOpenApi;
  std::optional<std::string> voucherNumber = {};

  enum class CodingKeys { type, voucherNumber };

  [[nodiscard]] bool containsUnknownDefaultOpenApiCase() const;
  bool operator==(const EBT&) const = default;
};

}  // namespace models

template <>
inline constexpr char models::capitalsSeparator<models::EBT::ModelType> = '_';

}  // namespace tilvanego
