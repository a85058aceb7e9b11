// The steps of which the transports consist, each beside the library that does its chief work, called with no
// more than it needs: contexts, streams and output buffers kept, algorithms found once.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <zlib.h>

#include <tilvanego/json/JSON.h>
#include <tilvanego/platform/OpenSSLRandomSource.h>
#include <tilvanego/transports/CompressedURLPayload.h>
#include <tilvanego/transports/Gzip.h>
#include <tilvanego/transports/HandoffEnvelope.h>
#include <tilvanego/values/Base64.h>

#include "transports_samples.h"

namespace tilvanego::bench {
namespace {

using namespace detail;

constexpr std::int64_t small = 2'048;
constexpr std::int64_t medium = 20'480;
constexpr std::int64_t large = 262'144;
constexpr std::string_view handoffId = "kqjHsSdNnQ0oVxXn2cSdwv3lX1mXo9fX4z0y5w6v7u8";
constexpr std::string_view requestId = "3f0e7c1a-58d2-4f6e-9d31-0a7b6c2e9f44";
const Date createdAt = Date::fromSecondsSince1970(1'795'261'010);

std::size_t sizeOf(const benchmark::State& state) { return static_cast<std::size_t>(state.range(0)); }

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

template <typename Work>
void measure(benchmark::State& state, std::size_t bytes, Work work) {
  for (auto _ : state) {
    auto done = work();
    benchmark::DoNotOptimize(done);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

// --- The cipher
// ---------------------------------------------------------------------------------------------

HandoffKey key() { return handoffKey(PaymentHandoffDirection::request, handoffId, requestId).value(); }
std::string associatedData() {
  return handoffAssociatedData(PaymentHandoffDirection::request, handoffId, requestId, createdAt);
}

/// AES-256-GCM with a context and an algorithm that are kept.
class BareCipher {
 public:
  void seal(std::span<const std::uint8_t> secret, std::string_view extra, std::string_view text,
            std::uint8_t* to) {
    RAND_bytes(to, handoffNonceSize);
    start(1, secret, to, extra);
    update(to + handoffNonceSize, bytesOf(text));
    require(finish() && EVP_CIPHER_CTX_ctrl(context_, EVP_CTRL_AEAD_GET_TAG, handoffTagSize,
                                            to + handoffNonceSize + text.size()) == 1,
            "OpenSSL can't seal");
  }
  bool open(std::span<const std::uint8_t> secret, std::string_view extra, std::span<std::uint8_t> box) {
    std::uint8_t* const text = box.data() + handoffNonceSize;
    const std::size_t size = box.size() - handoffNonceSize - handoffTagSize;
    start(0, secret, box.data(), extra);
    update(text, {text, size});
    return EVP_CIPHER_CTX_ctrl(context_, EVP_CTRL_AEAD_SET_TAG, handoffTagSize, text + size) == 1 && finish();
  }

 private:
  void start(int sealing, std::span<const std::uint8_t> secret, const std::uint8_t* nonce,
             std::string_view extra) {
    int size = 0;
    EVP_CipherInit_ex2(context_, cipher_, secret.data(), nonce, sealing, nullptr);
    EVP_CipherUpdate(context_, nullptr, &size, bytesOf(extra).data(), static_cast<int>(extra.size()));
  }
  void update(std::uint8_t* to, std::span<const std::uint8_t> from) {
    int size = 0;
    EVP_CipherUpdate(context_, to, &size, from.data(), static_cast<int>(from.size()));
  }
  bool finish() {
    std::array<std::uint8_t, 16> nothing;
    int size = 0;
    return EVP_CipherFinal_ex(context_, nothing.data(), &size) == 1;
  }

  EVP_CIPHER* cipher_ = EVP_CIPHER_fetch(nullptr, "AES-256-GCM", nullptr);
  EVP_CIPHER_CTX* context_ = EVP_CIPHER_CTX_new();
};

BareCipher& bareCipher() {
  static BareCipher one;
  return one;
}

void sealByLibrary(benchmark::State& state) {
  const auto secret = key();
  const std::string extra = associatedData();
  const std::string text = notes(sizeOf(state));
  OpenSSLRandomSource random;
  auto box = sealBox(secret, extra, text, random).value();
  require(
      bareCipher().open(secret.bytes(), extra, {reinterpret_cast<std::uint8_t*>(box.data()), box.size()}) &&
          box.substr(handoffNonceSize, text.size()) == text,
      "OpenSSL opens no box of the library's");
  measure(state, text.size(), [&] { return sealBox(secret, extra, text, random); });
}
BENCHMARK(sealByLibrary)->Arg(small)->Arg(large);

void sealByOpenSSL(benchmark::State& state) {
  const auto secret = key();
  const std::string extra = associatedData();
  const std::string text = notes(sizeOf(state));
  Bytes box(text.size() + handoffNonceSize + handoffTagSize);
  bareCipher().seal(secret.bytes(), extra, text, box.data());
  Bytes copy = box;
  require(openBox(secret, extra, copy) == text, "the library opens no box of OpenSSL's");
  measure(state, text.size(), [&] {
    bareCipher().seal(secret.bytes(), extra, text, box.data());
    return box.data();
  });
}
BENCHMARK(sealByOpenSSL)->Arg(small)->Arg(large);

/// Boxes are opened in their place, so each turn begins by copying the box anew, for both.
template <typename Open>
void openBoxes(benchmark::State& state, Open open) {
  const auto secret = key();
  const std::string extra = associatedData();
  const std::string text = notes(sizeOf(state));
  OpenSSLRandomSource random;
  const std::string sealed = sealBox(secret, extra, text, random).value();
  Bytes box(sealed.size());
  measure(state, text.size(), [&] {
    std::memcpy(box.data(), sealed.data(), sealed.size());
    return open(secret, extra, box);
  });
  require(std::ranges::equal(std::span(box).subspan(handoffNonceSize, text.size()), bytesOf(text)),
          "a box opened to another text");
}
void openByLibrary(benchmark::State& state) {
  openBoxes(state, [](auto& secret, auto& extra, Bytes& box) { return openBox(secret, extra, box); });
}
void openByOpenSSL(benchmark::State& state) {
  openBoxes(state, [](auto& secret, auto& extra, Bytes& box) {
    return bareCipher().open(secret.bytes(), extra, box);
  });
}
BENCHMARK(openByLibrary)->Arg(small)->Arg(large);
BENCHMARK(openByOpenSSL)->Arg(small)->Arg(large);

/// What an envelope needs beside the cipher, whatever its size.
void deriveKeyAndAssociatedData(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(key());
    benchmark::DoNotOptimize(associatedData());
  }
}
BENCHMARK(deriveKeyAndAssociatedData);

// --- A whole envelope and its JSON
// --------------------------------------------------------------------------

PaymentHandoffRequestPayload payload(const benchmark::State& state) {
  return PaymentHandoffRequestPayload::of(paymentRequest(notes(sizeOf(state))));
}
PaymentHandoffEnvelope envelopeOf(const PaymentHandoffRequestPayload& content, RandomSource& random) {
  return sealHandoffEnvelope(content, PaymentHandoffDirection::request, handoffId, requestId, createdAt,
                             random)
      .value();
}

void sealEnvelope(benchmark::State& state) {
  const auto content = payload(state);
  OpenSSLRandomSource random;
  measure(state, sizeOf(state), [&] { return json::encode(envelopeOf(content, random), envelopeFormat); });
}
void openEnvelope(benchmark::State& state) {
  const auto content = payload(state);
  OpenSSLRandomSource random;
  const std::string text = json::encode(envelopeOf(content, random), envelopeFormat).value();
  const auto open = [&] {
    return openHandoffEnvelope<PaymentHandoffRequestPayload>(
        json::decode<PaymentHandoffEnvelope>(text).value(), PaymentHandoffDirection::request, requestId,
        createdAt);
  };
  require(open() == content, "an envelope opened to another payload");
  measure(state, sizeOf(state), open);
}
void writePayload(benchmark::State& state) {
  const auto content = payload(state);
  measure(state, sizeOf(state), [&] { return json::encode(content, envelopeFormat); });
}
void readPayload(benchmark::State& state) {
  const std::string text = json::encode(payload(state), envelopeFormat).value();
  measure(state, text.size(), [&] { return json::decode<PaymentHandoffRequestPayload>(text); });
}
BENCHMARK(sealEnvelope)->Arg(small)->Arg(large);
BENCHMARK(openEnvelope)->Arg(small)->Arg(large);
BENCHMARK(writePayload)->Arg(small)->Arg(large);
BENCHMARK(readPayload)->Arg(small)->Arg(large);

// --- Base64 for URLs
// ----------------------------------------------------------------------------------------

/// OpenSSL's encoder knows the standard alphabet alone; `text` keeps its room.
void encodeBase64URLByOpenSSL(std::span<const std::uint8_t> bytes, std::string& text) {
  text.resize((bytes.size() + 2) / 3 * 4);
  EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(),
                  static_cast<int>(bytes.size()));
  while (text.ends_with('=')) text.pop_back();
  for (char& character : text) character = character == '+' ? '-' : character == '/' ? '_' : character;
}

void encodeBase64ByLibrary(benchmark::State& state) {
  const std::string bytes = randomText(sizeOf(state));
  std::string peers;
  encodeBase64URLByOpenSSL(bytesOf(bytes), peers);
  require(base64URLEncode(bytesOf(bytes)) == peers, "OpenSSL writes other base64");
  measure(state, bytes.size(), [&] { return base64URLEncode(bytesOf(bytes)); });
}
void encodeBase64ByOpenSSL(benchmark::State& state) {
  const std::string bytes = randomText(sizeOf(state));
  std::string text;
  measure(state, bytes.size(), [&] {
    encodeBase64URLByOpenSSL(bytesOf(bytes), text);
    return text.data();
  });
}
void decodeBase64ByLibrary(benchmark::State& state) {
  const std::string text = base64URLEncode(bytesOf(randomText(sizeOf(state))));
  measure(state, sizeOf(state), [&] { return base64URLDecode(text); });
}
BENCHMARK(encodeBase64ByLibrary)->Arg(small)->Arg(large);
BENCHMARK(encodeBase64ByOpenSSL)->Arg(small)->Arg(large);
BENCHMARK(decodeBase64ByLibrary)->Arg(small)->Arg(large);

// --- Gzip
// ---------------------------------------------------------------------------------------------------

/// The JSON of a request's envelope, or, of the largest size, of a result's.
std::string envelopeJSON(const benchmark::State& state) {
  const auto text = [&](auto direction, auto content) {
    return json::encode(
               makeURLPayloadEnvelope(direction, std::string(requestId), createdAt, std::move(content)),
               envelopeFormat)
        .value();
  };
  // The keys and the other fields take less than 700 bytes.
  const std::size_t length = sizeOf(state) - 700;
  if (sizeOf(state) < large) {
    return text(PaymentHandoffDirection::request,
                PaymentHandoffRequestPayload::of(paymentRequest(notes(length))));
  }
  return text(PaymentHandoffDirection::result, PaymentURLResultPayload{resultItems(length)});
}

/// zlib with streams that are reset and output that is kept, in the library's parameters and steps.
class BareGzip {
 public:
  BareGzip() : output_(2 * static_cast<std::size_t>(large)) {
    require(
        deflateInit2(&deflate_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) == Z_OK &&
            inflateInit2(&inflate_, 15 + 32) == Z_OK,
        "zlib can't begin");
  }
  std::span<const std::uint8_t> compress(std::span<const std::uint8_t> bytes) {
    deflateReset(&deflate_);
    return run(deflate_, deflate, Z_FINISH, bytes);
  }
  std::span<const std::uint8_t> decompress(std::span<const std::uint8_t> bytes) {
    inflateReset(&inflate_);
    return run(inflate_, inflate, Z_NO_FLUSH, bytes);
  }

 private:
  std::span<const std::uint8_t> run(z_stream& stream, int (*work)(z_stream*, int), int flush,
                                    std::span<const std::uint8_t> bytes) {
    stream.next_in = const_cast<std::uint8_t*>(bytes.data());
    stream.avail_in = static_cast<unsigned>(bytes.size());
    std::size_t size = 0;
    int result = Z_OK;
    while (result == Z_OK) {
      stream.next_out = output_.data() + size;
      stream.avail_out = gzipChunk;
      result = work(&stream, flush);
      size += gzipChunk - stream.avail_out;
    }
    require(result == Z_STREAM_END, "zlib didn't come to the end");
    return {output_.data(), size};
  }

  z_stream deflate_{};
  z_stream inflate_{};
  Bytes output_;
};

BareGzip& bareGzip() {
  static BareGzip one;
  return one;
}

void compressByLibrary(benchmark::State& state) {
  const std::string text = envelopeJSON(state);
  require(std::ranges::equal(gzipCompress(bytesOf(text)).value(), bareGzip().compress(bytesOf(text))),
          "zlib writes another stream");
  measure(state, text.size(), [&] { return gzipCompress(bytesOf(text)); });
}
void compressByZlib(benchmark::State& state) {
  const std::string text = envelopeJSON(state);
  measure(state, text.size(), [&] { return bareGzip().compress(bytesOf(text)).size(); });
  state.counters["compressed"] = static_cast<double>(bareGzip().compress(bytesOf(text)).size());
}
void decompressByLibrary(benchmark::State& state) {
  const std::string text = envelopeJSON(state);
  const Bytes compressed = gzipCompress(bytesOf(text)).value();
  const auto decompress = [&] { return gzipDecompress(compressed, maxPayloadJSON, text.size()); };
  require(decompress() == text, "a stream was read as another text");
  measure(state, text.size(), decompress);
}
void decompressByZlib(benchmark::State& state) {
  const std::string text = envelopeJSON(state);
  const Bytes compressed = gzipCompress(bytesOf(text)).value();
  require(std::ranges::equal(bareGzip().decompress(compressed), bytesOf(text)), "zlib reads another text");
  measure(state, text.size(), [&] { return bareGzip().decompress(compressed).size(); });
}
BENCHMARK(compressByLibrary)->Arg(small)->Arg(medium)->Arg(large);
BENCHMARK(compressByZlib)->Arg(small)->Arg(medium)->Arg(large);
BENCHMARK(decompressByLibrary)->Arg(small)->Arg(medium)->Arg(large);
BENCHMARK(decompressByZlib)->Arg(small)->Arg(medium)->Arg(large);

}  // namespace
}  // namespace tilvanego::bench
