#pragma once

#include <curl/curl.h>

namespace tilvanego::detail {

/// The version of libcurl that runs, such as 0x075801 for 7.88.1.
inline unsigned curlVersion() {
  static const unsigned version = curl_version_info(CURLVERSION_NOW)->version_num;
  return version;
}

}  // namespace tilvanego::detail
