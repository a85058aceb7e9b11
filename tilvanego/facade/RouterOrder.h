#pragma once

#include <algorithm>

#include <tilvanego/frame/OperationKind.h>

namespace tilvanego::detail {

/// The operations in the order in which they are offered a callback: the payment, the first of the list, is
/// the last.
inline constexpr auto routerOrder = [] {
  auto kinds = operationKinds;
  std::ranges::rotate(kinds, kinds.begin() + 1);
  return kinds;
}();
static_assert(routerOrder.back() == OperationKind::payment);

}  // namespace tilvanego::detail
