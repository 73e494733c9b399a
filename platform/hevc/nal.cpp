#include "platform/hevc/nal.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace quellor::hevc {
namespace {

constexpr std::size_t kHeaderSize = 2;  // ITU-T H.265, 7.3.1.2

struct NalHeader {
  bool possible;
  unsigned type;
  unsigned layer;
};

NalHeader readHeader(ByteView unit) {
  const unsigned bits = (unsigned{unit[0]} << 8) | unit[1];
  const bool forbiddenBit = (bits & 0x8000U) != 0;
  const unsigned temporalIdPlus1 = bits & 0x7U;
  return {!forbiddenBit && temporalIdPlus1 != 0, (bits >> 9) & 0x3FU, (bits >> 3) & 0x3FU};
}

/// Some writers count zero bytes that follow a parameter set among its own; decoders do without them.
ByteView withoutTrailingZeros(ByteView unit) {
  while (!unit.empty() && unit.back() == 0) unit = unit.first(unit.size() - 1);
  return unit;
}

std::size_t readLength(ByteView bytes) {
  std::size_t length = 0;
  for (const std::uint8_t byte : bytes) length = (length << 8) | byte;
  return length;
}

}  // namespace

bool hasLegalBytes(ByteView unit) {
  if (unit.empty() || unit.back() == 0) return false;
  const std::uint8_t* position = unit.data();
  const std::uint8_t* const end = position + unit.size();
  // The last byte is not zero, so that a zero byte always has a successor.
  while ((position = static_cast<const std::uint8_t*>(
              std::memchr(position, 0, static_cast<std::size_t>(end - position)))) != nullptr) {
    if (position[1] != 0) {
      position += 2;
      continue;
    }
    if (position[2] < 3 || (position[2] == 3 && end - position > 3 && position[3] > 3)) return false;
    position += 3;
  }
  return true;
}

bool NalStream::appendUnit(ByteView unit) {
  if (unit.size() < kHeaderSize) return false;
  const NalHeader header = readHeader(unit);
  if (!header.possible || !hasLegalBytes(header.type < kFirstParameterSetUnit ? unit : withoutTrailingZeros(unit))) {
    return false;
  }
  if (header.layer == 0) {
    constexpr std::array<std::uint8_t, 4> kStartCode = {0, 0, 0, 1};
    stream_.resize(size_);
    stream_.insert(stream_.end(), kStartCode.begin(), kStartCode.end());
    places_.push_back({stream_.size(), unit.size()});
    stream_.insert(stream_.end(), unit.begin(), unit.end());
    size_ = stream_.size();
  }
  return true;
}

bool NalStream::append(ByteView lengthPrefixedUnits, std::size_t lengthSize) {
  constexpr std::size_t kPadding = 64;  // what bytes() is asked for
  stream_.reserve(size_ + lengthPrefixedUnits.size() + kPadding);
  ByteView rest = lengthPrefixedUnits;
  while (!rest.empty()) {
    if (rest.size() < lengthSize) return false;
    const std::size_t length = readLength(rest.first(lengthSize));
    rest = rest.subspan(lengthSize);
    if (length > rest.size() || !appendUnit(rest.first(length))) return false;
    rest = rest.subspan(length);
  }
  return true;
}

ByteView NalStream::bytes(std::size_t padding) {
  stream_.resize(size_);
  stream_.resize(size_ + padding, 0);
  return ByteView(stream_).first(size_);
}

std::vector<NalUnit> NalStream::units() const {
  std::vector<NalUnit> units;
  units.reserve(places_.size());
  for (const Place& place : places_) {
    const ByteView unit = ByteView(stream_).subspan(place.offset, place.size);
    units.push_back({readHeader(unit).type, unit.subspan(kHeaderSize)});
  }
  return units;
}

RawPayload removeEmulationPrevention(ByteView payload) {
  RawPayload raw;
  raw.bytes.reserve(payload.size());
  std::size_t begin = 0;
  for (std::size_t i = 2; i < payload.size(); ++i) {
    if (payload[i] == 3 && payload[i - 1] == 0 && payload[i - 2] == 0) {
      raw.bytes.insert(raw.bytes.end(), payload.begin() + static_cast<std::ptrdiff_t>(begin),
                       payload.begin() + static_cast<std::ptrdiff_t>(i));
      raw.removed.push_back(raw.bytes.size());
      begin = i + 1;
      i += 2;  // the next one cannot stand before two more zeros
    }
  }
  raw.bytes.insert(raw.bytes.end(), payload.begin() + static_cast<std::ptrdiff_t>(begin), payload.end());
  return raw;
}

}  // namespace quellor::hevc
