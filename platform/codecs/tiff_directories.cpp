#include "platform/codecs/tiff_directories.h"

#include <algorithm>
#include <unordered_set>

namespace quellor::tiff {
namespace {

constexpr std::size_t kMaximumDirectories = std::size_t{1} << 20;

enum Type : std::uint16_t { kShort = 3, kLong = 4, kRational = 5 };

/// Bytes that one value of a type takes, 0 for an unknown type (TIFF 6.0, section 2; 13 and 16 to 18 from BigTIFF).
std::uint64_t sizeOfType(std::uint64_t type) {
  switch (type) {
    case 1:  // BYTE
    case 2:  // ASCII
    case 6:  // SBYTE
    case 7:  // UNDEFINED
      return 1;
    case kShort:
    case 8:  // SSHORT
      return 2;
    case kLong:
    case 9:   // SLONG
    case 11:  // FLOAT
    case 13:  // IFD
      return 4;
    case kRational:
    case 10:  // SRATIONAL
    case 12:  // DOUBLE
    case 16:  // LONG8
    case 17:  // SLONG8
    case 18:  // IFD8
      return 8;
    default:
      return 0;
  }
}

bool isInside(ByteView file, std::uint64_t offset, std::uint64_t size) {
  return offset <= file.size() && size <= file.size() - offset;
}

}  // namespace

std::optional<Directories> Directories::read(ByteView file) {
  Directories directories(file);
  if (!directories.readHeader() || !directories.readChain()) return std::nullopt;
  return directories;
}

std::optional<ByteView> Directories::bytes(std::uint16_t tag) const {
  const Entry* const entry = find(tag);
  if (entry == nullptr || entry->value.empty()) return std::nullopt;
  return entry->value;
}

std::optional<std::uint32_t> Directories::integer(std::uint16_t tag) const {
  const Entry* const entry = find(tag);
  if (entry == nullptr || (entry->type != kShort && entry->type != kLong)) return std::nullopt;
  if (entry->value.size() != sizeOfType(entry->type)) return std::nullopt;
  return static_cast<std::uint32_t>(number(entry->value));
}

std::optional<double> Directories::rational(std::uint16_t tag) const {
  const Entry* const entry = find(tag);
  if (entry == nullptr || entry->type != kRational || entry->value.size() != 8) return std::nullopt;
  const std::uint64_t denominator = number(entry->value.subspan(4));
  if (denominator == 0) return std::nullopt;
  return static_cast<double>(number(entry->value.first(4))) / static_cast<double>(denominator);
}

bool Directories::readHeader() {
  if (file_.size() < 8 || file_[0] != file_[1] || (file_[0] != 'I' && file_[0] != 'M')) return false;
  bigEndian_ = file_[0] == 'M';
  const std::uint64_t version = number(file_.subspan(2, 2));
  bigTiff_ = version == 43;
  if (!bigTiff_) {
    firstOffset_ = number(file_.subspan(4, 4));
    return version == 42;
  }
  // BigTIFF: the size of an offset, always 8, and two zero bytes stand before the first offset.
  if (file_.size() < 16 || number(file_.subspan(4, 4)) != (bigEndian_ ? 0x80000U : 8U)) return false;
  firstOffset_ = number(file_.subspan(8, 8));
  return true;
}

bool Directories::readChain() {
  const std::size_t countSize = bigTiff_ ? 8 : 2;
  const std::uint64_t entrySize = bigTiff_ ? 20 : 12;
  const std::size_t offsetSize = bigTiff_ ? 8 : 4;
  std::unordered_set<std::uint64_t> seen;
  std::uint64_t offset = firstOffset_;
  do {
    if (count_ == kMaximumDirectories || !seen.insert(offset).second) return false;
    const auto entryCount = numberAt(offset, countSize);
    if (!entryCount || *entryCount == 0 || *entryCount > file_.size() / entrySize) return false;
    const auto next = numberAt(offset + countSize + *entryCount * entrySize, offsetSize);
    if (!next) return false;
    if (count_ == 0) readEntries(offset + countSize, *entryCount);
    ++count_;
    offset = *next;
  } while (offset != 0);
  return true;
}

void Directories::readEntries(std::uint64_t offset, std::uint64_t entryCount) {
  const std::uint64_t entrySize = bigTiff_ ? 20 : 12;
  entries_.reserve(static_cast<std::size_t>(entryCount));
  for (std::uint64_t i = 0; i < entryCount; ++i) entries_.push_back(entryAt(offset + i * entrySize));
}

Directories::Entry Directories::entryAt(std::uint64_t offset) const {
  const ByteView bytes = file_.subspan(static_cast<std::size_t>(offset), bigTiff_ ? 20 : 12);
  Entry entry{
      static_cast<std::uint16_t>(number(bytes.first(2))), static_cast<std::uint16_t>(number(bytes.subspan(2, 2))), {}};
  const std::size_t inlineSize = bigTiff_ ? 8 : 4;
  const std::uint64_t valueCount = number(bytes.subspan(4, inlineSize));
  const std::uint64_t unit = sizeOfType(entry.type);
  if (unit == 0 || valueCount > file_.size() / unit) return entry;
  const auto size = static_cast<std::size_t>(valueCount * unit);
  const ByteView field = bytes.last(inlineSize);
  if (size <= inlineSize) {
    entry.value = field.first(size);
  } else if (const std::uint64_t valueOffset = number(field); isInside(file_, valueOffset, size)) {
    entry.value = file_.subspan(static_cast<std::size_t>(valueOffset), size);
  }
  return entry;
}

const Directories::Entry* Directories::find(std::uint16_t tag) const {
  const auto found =
      std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.tag == tag; });
  return found == entries_.end() ? nullptr : &*found;
}

std::optional<std::uint64_t> Directories::numberAt(std::uint64_t offset, std::size_t size) const {
  if (!isInside(file_, offset, size)) return std::nullopt;
  return number(file_.subspan(static_cast<std::size_t>(offset), size));
}

std::uint64_t Directories::number(ByteView bytes) const {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    value = value << 8 | bytes[bigEndian_ ? i : bytes.size() - 1 - i];
  }
  return value;
}

}  // namespace quellor::tiff
