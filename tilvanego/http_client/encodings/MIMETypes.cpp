#include <tilvanego/http_client/encodings/MIMETypes.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <system_error>
#include <utility>

#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Integer.h>

namespace [[gnu::visibility("default")]] tilvanego {
namespace {

using Common = std::pair<std::string_view, std::string_view>;
constexpr std::array commonTypes{
    Common{"7z", "application/x-7z-compressed"},
    Common{"aac", "audio/aac"},
    Common{"avi", "video/x-msvideo"},
    Common{"avif", "image/avif"},
    Common{"bmp", "image/bmp"},
    Common{"bz2", "application/x-bzip2"},
    Common{"cer", "application/pkix-cert"},
    Common{"css", "text/css"},
    Common{"csv", "text/csv"},
    Common{"doc", "application/msword"},
    Common{"docx", "application/vnd.openxmlformats-officedocument.wordprocessingml.document"},
    Common{"eml", "message/rfc822"},
    Common{"flac", "audio/flac"},
    Common{"gif", "image/gif"},
    Common{"gz", "application/gzip"},
    Common{"heic", "image/heic"},
    Common{"heif", "image/heif"},
    Common{"htm", "text/html"},
    Common{"html", "text/html"},
    Common{"ico", "image/vnd.microsoft.icon"},
    Common{"ics", "text/calendar"},
    Common{"jpeg", "image/jpeg"},
    Common{"jpg", "image/jpeg"},
    Common{"js", "text/javascript"},
    Common{"json", "application/json"},
    Common{"log", "text/plain"},
    Common{"m4a", "audio/mp4"},
    Common{"m4v", "video/x-m4v"},
    Common{"md", "text/markdown"},
    Common{"mid", "audio/midi"},
    Common{"mkv", "video/x-matroska"},
    Common{"mov", "video/quicktime"},
    Common{"mp3", "audio/mpeg"},
    Common{"mp4", "video/mp4"},
    Common{"mpeg", "video/mpeg"},
    Common{"mpg", "video/mpeg"},
    Common{"odp", "application/vnd.oasis.opendocument.presentation"},
    Common{"ods", "application/vnd.oasis.opendocument.spreadsheet"},
    Common{"odt", "application/vnd.oasis.opendocument.text"},
    Common{"ogg", "audio/ogg"},
    Common{"otf", "font/otf"},
    Common{"p12", "application/x-pkcs12"},
    Common{"pdf", "application/pdf"},
    Common{"pem", "application/x-x509-ca-cert"},
    Common{"png", "image/png"},
    Common{"ppt", "application/vnd.ms-powerpoint"},
    Common{"pptx", "application/vnd.openxmlformats-officedocument.presentationml.presentation"},
    Common{"rtf", "text/rtf"},
    Common{"svg", "image/svg+xml"},
    Common{"tar", "application/x-tar"},
    Common{"tif", "image/tiff"},
    Common{"tiff", "image/tiff"},
    Common{"ts", "video/mp2t"},
    Common{"tsv", "text/tab-separated-values"},
    Common{"ttf", "font/ttf"},
    Common{"txt", "text/plain"},
    Common{"vcf", "text/vcard"},
    Common{"wasm", "application/wasm"},
    Common{"wav", "audio/vnd.wave"},
    Common{"webm", "video/webm"},
    Common{"webp", "image/webp"},
    Common{"woff", "font/woff"},
    Common{"woff2", "font/woff2"},
    Common{"xhtml", "application/xhtml+xml"},
    Common{"xls", "application/vnd.ms-excel"},
    Common{"xlsx", "application/vnd.openxmlformats-officedocument.spreadsheetml.sheet"},
    Common{"xml", "application/xml"},
    Common{"xz", "application/x-xz"},
    Common{"yaml", "application/yaml"},
    Common{"yml", "application/yaml"},
    Common{"zip", "application/zip"},
};
constexpr int usualWeight = 50;

bool isTokenCharacter(char c) {
  const bool isAlphanumeric = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
  return isAlphanumeric || std::string_view("!#$&-^_.+").contains(c);
}

/// Removes the part up to the first separator from `text` and returns it without the separator; without a
/// separator, the whole text.
std::string_view cutField(std::string_view& text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  const std::string_view field = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return field;
}

/// Whether the text is a type and a subtype, so that nothing else gets into a header.
bool isType(std::string_view text) {
  const std::string_view type = cutField(text, '/');
  return !type.empty() && !text.empty() && std::ranges::all_of(type, isTokenCharacter) &&
         std::ranges::all_of(text, isTokenCharacter);
}

std::optional<std::string> smallFile(const std::filesystem::path& path) {
  constexpr std::uintmax_t limit = std::uintmax_t{16} << 20;
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  const auto size = std::filesystem::file_size(path, error);
  if (error || size > limit) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::string text(static_cast<std::size_t>(size), '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  text.resize(static_cast<std::size_t>(file.gcount()));
  return text;
}

}  // namespace

MIMETypes::MIMETypes() {
  for (const auto& [extension, type] : commonTypes) add(std::string(extension), type, usualWeight);
}

const MIMETypes& MIMETypes::system() {
  // Never destroyed, because a request may be running while the process exits.
  static const MIMETypes& types = [] -> MIMETypes& {
    auto& read = *new MIMETypes;
    read.addDirectories(detail::dataDirectories(std::getenv("XDG_DATA_HOME"), std::getenv("HOME"),
                                                std::getenv("XDG_DATA_DIRS")));
    return read;
  }();
  return types;
}

std::optional<std::string_view> MIMETypes::typeForExtension(std::string_view extension) const {
  const auto found = entries_.find(detail::asciiLowercased(extension));
  if (found == entries_.end()) return std::nullopt;
  return found->second.type;
}

void MIMETypes::addGlobs(std::string_view text) {
  while (!text.empty()) {
    std::string_view line = cutField(text, '\n');
    const auto weight = wholeNumber<int>(cutField(line, ':'));
    const std::string_view type = cutField(line, ':');
    std::string_view pattern = cutField(line, ':');
    const std::string_view flags = cutField(line, ':');
    if (!weight || !isType(type) || !pattern.starts_with("*.") || flags.contains("cs")) continue;
    pattern.remove_prefix(2);
    if (pattern.empty() || pattern.find_first_of(".*?[") != std::string_view::npos) continue;
    add(detail::asciiLowercased(pattern), type, *weight);
  }
}

void MIMETypes::addDirectories(std::span<const std::filesystem::path> dataDirectories) {
  for (const auto& directory : dataDirectories) {
    if (const auto text = smallFile(directory / "mime" / "globs2")) addGlobs(*text);
  }
}

void MIMETypes::add(std::string extension, std::string_view type, int weight) {
  const auto [entry, isNew] = entries_.try_emplace(std::move(extension), Entry{std::string(type), weight});
  if (!isNew && weight > entry->second.weight) entry->second = {std::string(type), weight};
}

}  // namespace tilvanego

namespace tilvanego::detail {

std::vector<std::filesystem::path> dataDirectories(const char* xdgDataHome, const char* home,
                                                   const char* xdgDataDirs) {
  const auto orEmpty = [](const char* text) { return std::string_view(text == nullptr ? "" : text); };
  std::vector<std::filesystem::path> directories;
  const auto add = [&](std::filesystem::path directory) {
    if (directory.is_absolute()) directories.push_back(std::move(directory));
  };
  const std::string_view own = orEmpty(xdgDataHome);
  add(own.empty() ? std::filesystem::path(orEmpty(home)) / ".local/share" : std::filesystem::path(own));
  std::string_view shared = orEmpty(xdgDataDirs);
  if (shared.empty()) shared = "/usr/local/share:/usr/share";
  while (!shared.empty()) add(cutField(shared, ':'));
  return directories;
}

}  // namespace tilvanego::detail
