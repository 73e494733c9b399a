#pragma once
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace quellor {

/// A number of a JSON document that no finite double comes near: 1e999, or an integer of four hundred digits.
struct OversizedNumber {
  std::size_t ordinal = 0;  // among all numbers of the document, from 0
  std::size_t offset = 0;
  std::size_t length = 0;
};

/// The oversized numbers of a document, in its order. What is not JSON has any result: a parser refuses it.
std::vector<OversizedNumber> oversizedNumbers(std::span<const char> document);

/// The document with a zero and spaces in the place of each of these numbers, so that a parser that stops at them reads
/// on. Everything else stays where it is.
std::string withZerosFor(const std::vector<OversizedNumber>& numbers, std::span<const char> document);

}  // namespace quellor
