#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>

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

/// Calls `visit.template operator()<kind>()` for each operation, in the router's order.
template <typename Visit>
constexpr void forEachInRouterOrder(Visit&& visit) {
  [&]<std::size_t... index>(std::index_sequence<index...>) {
    (visit.template operator()<routerOrder[index]>(), ...);
  }(std::make_index_sequence<routerOrder.size()>());
}

}  // namespace tilvanego::detail
