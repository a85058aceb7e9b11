#include <tilvanego/network/curl/OutgoingHeaders.h>

#include <array>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Wiping.h>

namespace tilvanego::detail {
namespace {

/// The list of a request without fields of its own. libcurl changes no list.
curl_slist* plainList() {
  static constinit auto line = std::to_array("Accept-Encoding: gzip");
  static constinit curl_slist list{line.data(), nullptr};
  return &list;
}

}  // namespace

OutgoingHeaders::~OutgoingHeaders() { wipe(text_); }

void OutgoingHeaders::clear() {
  isPlain_ = false;
  if (starts_.empty()) return;
  wipe(text_);
  starts_.clear();
  nodes_.clear();
}

void OutgoingHeaders::set(const HTTPHeaders& fields, OutgoingBody body, const CredentialField& credential) {
  clear();
  isPlain_ = fields.empty() && body == OutgoingBody::none && credential.value.empty();
  if (isPlain_) return;
  // Not by libcurl's option, which costs more, and fails a response with a coding that libcurl doesn't know.
  // Every server that compresses supports gzip; further codings would only make requests longer.
  if (!fields.value("Accept-Encoding")) add("Accept-Encoding", "gzip");
  for (const auto& [name, value] : fields.fields()) {
    // libcurl sets these fields. With a wrong value, the server would wait for more bytes or read the rest of
    // the body as a request.
    if (equalIgnoringASCIICase(name, "Content-Length") || equalIgnoringASCIICase(name, "Transfer-Encoding"))
      continue;
    if (!credential.value.empty() && equalIgnoringASCIICase(name, credential.name)) continue;
    if (equalIgnoringASCIICase(name, "Proxy-Authorization")) continue;
    add(name, trimmedField(value));
  }
  if (!credential.value.empty()) add(credential.name, credential.value);
  if (body != OutgoingBody::none && !fields.value("Content-Type")) suppress("Content-Type");
  if (body == OutgoingBody::any && !fields.value("Expect")) suppress("Expect");
  link();
}

void OutgoingHeaders::set(const CredentialField& credential) {
  clear();
  add(credential.name, credential.value);
  link();
}

curl_slist* OutgoingHeaders::list() {
  if (isPlain_) return plainList();
  return nodes_.empty() ? nullptr : nodes_.data();
}

void OutgoingHeaders::link() {
  nodes_.resize(starts_.size());
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    nodes_[i].data = text_.data() + starts_[i];
    nodes_[i].next = i + 1 < nodes_.size() ? &nodes_[i + 1] : nullptr;
  }
}

// For libcurl "Name;" means a field with an empty value, "Name:" means that the field isn't sent.
void OutgoingHeaders::add(std::string_view name, std::string_view value) {
  starts_.push_back(text_.size());
  makeRoom(text_, name.size() + value.size() + sizeof(": "));
  text_.append(name);
  if (value.empty()) {
    text_.push_back(';');
  } else {
    text_.append(": ").append(value);
  }
  text_.push_back('\0');
}

void OutgoingHeaders::suppress(std::string_view name) {
  starts_.push_back(text_.size());
  text_.append(name).append(":").push_back('\0');
}

}  // namespace tilvanego::detail
