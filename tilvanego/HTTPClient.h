#pragma once

/// All of TilvaneGo::HTTPClient: configuration and builders, their encodings and JSON helpers, the session
/// below them and its double in memory, and the validator of values.
#include <tilvanego/Version.h>
#include <tilvanego/http_client/FileSink.h>
#include <tilvanego/http_client/FileSource.h>
#include <tilvanego/http_client/InterceptorChain.h>
#include <tilvanego/http_client/RequestBuilderWithSession.h>
#include <tilvanego/http_client/RetryPolicy.h>
#include <tilvanego/http_client/URLSessionImplementations.h>
#include <tilvanego/http_client/coding/CodableHelper.h>
#include <tilvanego/http_client/coding/CodingKey.h>
#include <tilvanego/http_client/coding/JSONEncodingHelper.h>
#include <tilvanego/http_client/coding/KeyedContainers.h>
#include <tilvanego/http_client/coding/NullEncodable.h>
#include <tilvanego/http_client/encodings/APIHelper.h>
#include <tilvanego/http_client/encodings/FileReading.h>
#include <tilvanego/http_client/encodings/FormDataEncoding.h>
#include <tilvanego/http_client/encodings/FormURLEncoding.h>
#include <tilvanego/http_client/encodings/JSONDataEncoding.h>
#include <tilvanego/http_client/encodings/MIMETypes.h>
#include <tilvanego/http_client/encodings/OctetStreamEncoding.h>
#include <tilvanego/http_client/encodings/URLEncoding.h>
#include <tilvanego/json/JSON.h>
#include <tilvanego/json/JSONValue.h>
#include <tilvanego/network/MemoryURLSession.h>
#include <tilvanego/validation/Validator.h>
