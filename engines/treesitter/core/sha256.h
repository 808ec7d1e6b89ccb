// SHA-256. The door of OpenSSL's libcrypto.
//
// Tested by tests/engine_test.cpp.
#pragma once

#include <memory>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace engines::treesitter {

// One digest after the other, on one thread: fetching the algorithm and making a context costs as
// much as digesting a few kilobytes, so both are kept.
class Sha256 {
 public:
  Sha256();  // throws std::bad_alloc

  // The digest of these bytes, as 64 lower-case hexadecimal digits.
  std::string of(std::string_view bytes);

  // The same in pieces.
  void start();
  void update(std::string_view bytes);
  std::string finish();

 private:
  struct Free {
    void operator()(evp_md_ctx_st* context) const;
  };

  std::unique_ptr<evp_md_ctx_st, Free> _context;
};

}  // namespace engines::treesitter
