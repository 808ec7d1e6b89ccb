// Lists of rising numbers, packed: each number as its difference from the one before, in as many
// bytes of seven bits as it needs.
//
// Cost: linear in the numbers.
//
// Tested by tests/index_test.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace repository {

// Appends one number; for whoever makes a list as its numbers come.
void append_varint(std::string& bytes, std::uint64_t number);

// Of numbers none of which is less than the one before.
std::string pack_rising(const std::vector<std::uint64_t>& numbers);
// Throws IndexError when the bytes are no such list.
std::vector<std::uint64_t> unpack_rising(std::string_view bytes);

}  // namespace repository
