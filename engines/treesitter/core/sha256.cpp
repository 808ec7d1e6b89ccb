#include "engines/treesitter/core/sha256.h"

#include <openssl/evp.h>

#include <array>
#include <new>
#include <stdexcept>

namespace engines::treesitter {
namespace {

void require(int succeeded) {
  if (succeeded != 1) throw std::runtime_error("libcrypto failed to compute SHA-256");
}

}  // namespace

void Sha256::Free::operator()(evp_md_ctx_st* context) const { EVP_MD_CTX_free(context); }

Sha256::Sha256() : _context(EVP_MD_CTX_new()) {
  if (!_context) throw std::bad_alloc();
}

std::string Sha256::of(std::string_view bytes) {
  start();
  update(bytes);
  return finish();
}

void Sha256::start() { require(EVP_DigestInit_ex(_context.get(), EVP_sha256(), nullptr)); }

void Sha256::update(std::string_view bytes) {
  require(EVP_DigestUpdate(_context.get(), bytes.data(), bytes.size()));
}

std::string Sha256::finish() {
  constexpr std::string_view DIGITS = "0123456789abcdef";
  std::array<unsigned char, 32> digest{};
  require(EVP_DigestFinal_ex(_context.get(), digest.data(), nullptr));
  std::string text;
  text.reserve(2 * digest.size());
  for (const unsigned char byte : digest) {
    text.push_back(DIGITS[byte >> 4]);
    text.push_back(DIGITS[byte & 0x0F]);
  }
  return text;
}

}  // namespace engines::treesitter
