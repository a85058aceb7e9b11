#pragma once

#include <cstddef>
#include <tuple>

#include <tilvanego/operations/CaptureOperation.h>
#include <tilvanego/operations/ClearDataOperation.h>
#include <tilvanego/operations/FullRefundOperation.h>
#include <tilvanego/operations/InitializationOperation.h>
#include <tilvanego/operations/PartialRefundOperation.h>
#include <tilvanego/operations/RebootOperation.h>
#include <tilvanego/operations/SaveOperation.h>
#include <tilvanego/operations/TransactionListOperation.h>
#include <tilvanego/payment/PaymentOperation.h>

namespace tilvanego::detail {

/// The description of the operation of a kind.
using OperationDescriptions =
    std::tuple<PaymentOperation, InitializationOperation, TransactionListOperation, FullRefundOperation,
               PartialRefundOperation, CaptureOperation, ClearDataOperation, RebootOperation, SaveOperation>;
template <OperationKind kind>
  requires(std::tuple_element_t<static_cast<std::size_t>(kind), OperationDescriptions>::kind == kind)
using OperationOf = std::tuple_element_t<static_cast<std::size_t>(kind), OperationDescriptions>;

}  // namespace tilvanego::detail
