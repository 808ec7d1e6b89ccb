// See sha256.h. This calls libcrypto's functions for SHA-256, which OpenSSL 3 calls deprecated, and
// not those of EVP. EVP looks the algorithm up under locks, and its first look-up in a process
// reads libcrypto's configuration. A child that is forked meanwhile would wait for ever for a lock
// whose holder does not exist in the child. The functions used here have no state but their
// argument, and cost the same per byte.
#define OPENSSL_SUPPRESS_DEPRECATED
#include "engines/treesitter/reading/sha256.h"

#include <openssl/sha.h>

#include <array>

#include "engines/treesitter/text/text.h"

namespace engines::treesitter {

void Sha256::Free::operator()(SHA256state_st* state) const { delete state; }

Sha256::Sha256() : _state(new SHA256state_st) {}

std::string Sha256::of(std::string_view bytes) { return of(bytes, never_cancelled); }

std::string Sha256::of(std::string_view bytes, StopCheck& stop) {
  start();
  in_pieces(bytes, stop, [this](std::string_view piece) { update(piece); });
  return finish();
}

// None of the three functions of libcrypto can fail.
void Sha256::start() { SHA256_Init(_state.get()); }

void Sha256::update(std::string_view bytes) {
  SHA256_Update(_state.get(), bytes.data(), bytes.size());
}

std::string Sha256::finish() {
  std::array<unsigned char, SHA256_DIGEST_LENGTH> digest{};
  SHA256_Final(digest.data(), _state.get());
  std::string text;
  text.reserve(2 * digest.size());
  for (const unsigned char byte : digest) {
    text.push_back(HEXADECIMAL_DIGITS[byte >> 4]);
    text.push_back(HEXADECIMAL_DIGITS[byte & 0x0F]);
  }
  return text;
}

}  // namespace engines::treesitter
