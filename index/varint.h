// Numbers in as few bytes as they need, seven bits in each: how the index keeps lists.
//
// Tested by tests/index_test.cpp.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace repository {

void append_varint(std::string& bytes, std::uint64_t number);

// Takes the number in front of `bytes` away from it. None at the end, and for what append_varint
// has not written.
std::optional<std::uint64_t> take_varint(std::string_view& bytes);

// Numbers that never fall, as their differences.
std::string pack_rising(const std::vector<std::uint64_t>& numbers);
// Throws IndexError for what is damaged.
std::vector<std::uint64_t> unpack_rising(std::string_view bytes);

}  // namespace repository
