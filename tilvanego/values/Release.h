#pragma once

namespace tilvanego::detail {

/// The deleter of a `std::unique_ptr` whose object a function of a C library destroys.
template <auto release>
struct Release {
  void operator()(auto* object) const { release(object); }
};

}  // namespace tilvanego::detail
