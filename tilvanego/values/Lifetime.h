#pragma once

/// Marks a parameter, or `*this`, that a returned view points into: clang then warns where a view outlives
/// it. It stands behind the parameter's name, or behind a member function's parameter list. Empty for a
/// compiler without the attribute.
#if defined(__has_cpp_attribute) && __has_cpp_attribute(clang::lifetimebound)
#define TILVANEGO_LIFETIMEBOUND [[clang::lifetimebound]]
#else
#define TILVANEGO_LIFETIMEBOUND
#endif
