// Compiled, but never run: each FAULT is a literal that must not compile. Without one, all must.
#include <tilvanego/values/Literals.h>

#ifndef FAULT
#define FAULT 0
#endif

using namespace tilvanego::literals;

#if FAULT == 1
constexpr auto amount = "12,50"_decimal;
#else
constexpr auto amount = "12.50"_decimal;
#endif

#if FAULT == 2
const auto url = "done here"_url;
#else
const auto url = "myshop://done"_url;
#endif
