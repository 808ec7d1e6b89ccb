// See outcome.h.
#include "engines/treesitter/core/outcome.h"

#include <new>
#include <utility>

namespace engines::treesitter {
namespace {

// Derived types are caught before their bases.
void describe(Raised& raised) {
  try {
    std::rethrow_exception(raised.error);
  } catch (const Utf8Error& error) {
    raised.kind = Raised::Kind::not_utf8;
    raised.text = error.what();
  } catch (const std::invalid_argument& error) {
    raised.kind = Raised::Kind::invalid_path;
    raised.text = error.what();
  } catch (const ResultLimitError& error) {
    raised.kind = Raised::Kind::result_limit;
    raised.text = error.what();
  } catch (const std::bad_alloc& error) {
    raised.kind = Raised::Kind::out_of_memory;
    raised.text = error.what();
  } catch (const CancelledError& error) {
    raised.kind = Raised::Kind::cancelled;
    raised.text = error.what();
  } catch (const std::exception& error) {
    raised.text = error.what();
  }
}

std::size_t size_of(const std::string& text) {
  // A short text is stored in the string object.
  return text.capacity() < sizeof(std::string) / 2 ? 0 : text.capacity() + 1;
}

std::size_t size_of(const std::optional<std::string>& text) { return text ? size_of(*text) : 0; }

struct SizeOfOutcome {
  std::size_t operator()(const ParseResult& result) const {
    std::size_t size = result.symbols.capacity() * sizeof(models::Symbol) +
                       result.references.capacity() * sizeof(ReferenceInfo);
    for (const models::Symbol& symbol : result.symbols) {
      size += size_of(symbol.name) + size_of(symbol.fqn) + size_of(symbol.signature) +
              size_of(symbol.docstring) + size_of(symbol.body_digest);
    }
    for (const ReferenceInfo& reference : result.references) size += size_of(reference.name);
    for (const std::string& error : result.errors) size += sizeof(std::string) + size_of(error);
    return size;
  }
  std::size_t operator()(const NoLanguage& outcome) const { return size_of(outcome.error); }
  std::size_t operator()(const Declined& /*outcome*/) const { return 0; }
  std::size_t operator()(const Raised& outcome) const { return size_of(outcome.text); }
};

}  // namespace

Raised raised_by(std::exception_ptr error, KnownOfFile&& known) noexcept {
  Raised raised{Raised::Kind::other,
                {},
                std::move(known.language),
                std::move(known.content_hash),
                std::move(error)};
  try {
    describe(raised);
  } catch (...) {
    raised.text.clear();
  }
  return raised;
}

std::size_t size_of(const Outcome& outcome) { return std::visit(SizeOfOutcome{}, outcome); }

}  // namespace engines::treesitter
