// Compiled, but never run: each FAULT is a body type that nothing could make and must not compile. Without
// one, all must.
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <tilvanego/http_client/RequestBuilderOf.h>

#ifndef FAULT
#define FAULT 0
#endif

struct Opaque {};
struct Picture {};

template <>
inline constexpr bool tilvanego::hasCustomBuilder<Picture> = true;

#if FAULT == 1  // no codec
using Body = Opaque;
#elif FAULT == 2  // an element without one
using Body = std::vector<std::optional<Opaque> >;
#elif FAULT == 3  // a value without one
using Body = std::map<std::string, Opaque>;
#elif FAULT == 4  // a way to hold things that JSON doesn't have
using Body = std::unique_ptr<int>*;
#else
using Body = Picture;
#endif

const tilvanego::BodyType& bodyType = tilvanego::bodyTypeOf<Body>();

template tilvanego::RequestBuilderOf<Body> tilvanego::makeRequestBuilder<Body>(RequestBuilderArguments&&);
