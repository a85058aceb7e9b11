#pragma once

#include <tilvanego/values/Date.h>

namespace tilvanego::test {

/// Seconds since 1970.
inline Date seconds(double value) { return Date::fromSecondsSince1970(value); }

}  // namespace tilvanego::test
