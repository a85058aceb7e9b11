#include <tilvanego/network/curl/IncomingResponse.h>

#include <limits>
#include <new>

#include <tilvanego/network/FieldSyntax.h>
#include <tilvanego/values/ASCII.h>
#include <tilvanego/values/Integer.h>

namespace tilvanego::detail {
namespace {

constexpr int largestWindow = 15;
constexpr int readsHeader = 32;
constexpr unsigned char gzipStart = 0x1F;
constexpr unsigned methodMask = 0x0F;

/// "deflate" means the zlib format (RFC 9110, section 8.4.1.2), but some servers omit its header of two
/// bytes. The header begins with method 8, a stream without the header can't begin so.
int windowBits(ContentCoding coding, unsigned char first) {
  const bool isBare = coding == ContentCoding::deflate && (first & methodMask) != Z_DEFLATED;
  return isBare ? -largestWindow : largestWindow + readsHeader;
}

bool isField(std::string_view line, std::string_view nameInLowerCase) {
  return equalIgnoringASCIICase(line.substr(0, nameInLowerCase.size()), nameInLowerCase);
}

}  // namespace

bool ResponseHead::addLine(std::string_view line) {
  // Most lines: a field inside a head, neither folded nor empty.
  const bool isField = !inBody_ && !complete_ && !bytes_.empty() && !line.empty() && line.front() > ' ';
  if (!isField) return addOtherLine(line);
  received_ += line.size();
  if (received_ > maxBytes_ || ++fieldCount_ > maxFields) return false;
  bytes_.append(line);
  if (asciiLowercased(line.front()) == 'c') noteContentField(line);
  return true;
}

bool ResponseHead::addOtherLine(std::string_view line) {
  const bool isEmpty = line == "\r\n" || line == "\n";
  const bool isFirst = !inBody_ && (bytes_.empty() || complete_) && line.starts_with("HTTP/");
  received_ += line.size();
  if (!isEmpty && !isFirst) ++fieldCount_;
  if (received_ > maxBytes_ || fieldCount_ > maxFields) return false;
  if (isFirst) startOver();
  if (inBody_ || complete_) return true;
  // A folded line has nothing to continue after the status line.
  if ((line.starts_with(' ') || line.starts_with('\t')) && bytes_.find('\n') + 1 == bytes_.size())
    return false;
  bytes_.append(line);
  if (isEmpty) complete_ = true;
  if (!line.empty() && asciiLowercased(line.front()) == 'c') noteContentField(line);
  return true;
}

void ResponseHead::clear() {
  startOver();
  received_ = 0;
  fieldCount_ = 0;
}

void ResponseHead::noteContentField(std::string_view line) {
  constexpr std::string_view length = "content-length:";
  constexpr std::string_view encoding = "content-encoding:";
  // The first letter in which the two names differ. Most fields end the look there.
  constexpr auto difference = std::string_view("content-").size();
  if (line.size() <= difference) return;
  const char deciding = asciiLowercased(line[difference]);
  if (deciding == encoding[difference] && isField(line, encoding)) hasContentEncoding_ = true;
  if (deciding == length[difference] && isField(line, length)) noteLength(line.substr(length.size()));
}

// libcurl would use the last of several lengths, and the digits at the start of an invalid one.
void ResponseHead::noteLength(std::string_view value) {
  for (;;) {
    const auto comma = value.find(',');
    const auto length = wholeNumber<std::uint64_t>(trimmedField(value.substr(0, comma)));
    if (!length || *length > std::uint64_t{std::numeric_limits<std::int64_t>::max()} ||
        length_.value_or(*length) != *length) {
      hasBrokenLength_ = true;
    }
    length_ = length;
    if (comma == value.npos) return;
    value.remove_prefix(comma + 1);
  }
}

void ResponseHead::startOver() {
  bytes_.clear();
  complete_ = false;
  inBody_ = false;
  hasContentEncoding_ = false;
  hasBrokenLength_ = false;
  length_.reset();
}

Data Body::take() {
  const bool isSmall = bytes_.size() <= smallSize;
  Data taken = isSmall ? Data(std::string_view(reinterpret_cast<const char*>(bytes_.data()), bytes_.size()))
                       : Data(std::move(bytes_));
  clear();
  return taken;
}

void Body::clear() {
  expected_ = 0;
  if (bytes_.capacity() > smallSize) bytes_ = {};
  bytes_.clear();
}

std::optional<ContentCoding> contentCodingOf(std::string_view field) {
  std::optional<ContentCoding> found;
  while (!field.empty()) {
    const auto comma = std::min(field.find(','), field.size());
    const auto name = trimmedField(field.substr(0, comma));
    field.remove_prefix(std::min(comma + 1, field.size()));
    if (name.empty() || equalIgnoringASCIICase(name, "identity")) continue;
    const bool isGzip = equalIgnoringASCIICase(name, "gzip") || equalIgnoringASCIICase(name, "x-gzip");
    if (found || (!isGzip && !equalIgnoringASCIICase(name, "deflate"))) return std::nullopt;
    found = isGzip ? ContentCoding::gzip : ContentCoding::deflate;
  }
  return found;
}

ContentDecoder::ContentDecoder(ContentCoding coding) : coding_(coding) {
  if (inflateInit2(&zlib_, largestWindow + readsHeader) != Z_OK) throw std::bad_alloc();
}

ContentDecoder::~ContentDecoder() { inflateEnd(&zlib_); }

void ContentDecoder::feed(std::string_view bytes) {
  // zlib doesn't write to its input. libcurl's pieces are smaller than zlib's largest input.
  zlib_.next_in = const_cast<Bytef*>(reinterpret_cast<const Bytef*>(bytes.data()));
  zlib_.avail_in = static_cast<uInt>(bytes.size());
}

// Called before the first byte of the body and before each further gzip stream in it.
ContentDecoder::Stage ContentDecoder::begin() {
  if (stage_ == Stage::beforeBody) {
    inflateReset2(&zlib_, windowBits(coding_, *zlib_.next_in));
    return Stage::inStream;
  }
  // Bytes after the end are ignored, unless they are another stream.
  if (coding_ != ContentCoding::gzip || *zlib_.next_in != gzipStart) return Stage::ignoring;
  inflateReset(&zlib_);
  return Stage::inStream;
}

std::optional<std::size_t> ContentDecoder::read(std::span<char> room) {
  do {
    if (zlib_.avail_in > 0 && (stage_ == Stage::beforeBody || stage_ == Stage::afterStream)) stage_ = begin();
    if (stage_ != Stage::inStream) return 0;
    zlib_.next_out = reinterpret_cast<Bytef*>(room.data());
    zlib_.avail_out = static_cast<uInt>(room.size());
    const int result = inflate(&zlib_, Z_NO_FLUSH);
    if (result == Z_MEM_ERROR) throw std::bad_alloc();
    // No input and no output isn't a failure: the next bytes are needed.
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) return std::nullopt;
    if (result == Z_STREAM_END) stage_ = Stage::afterStream;
    if (const auto count = room.size() - zlib_.avail_out; count > 0) return count;
  } while (zlib_.avail_in > 0);
  return 0;
}

}  // namespace tilvanego::detail
