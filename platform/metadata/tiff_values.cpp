#include "platform/metadata/tiff_values.h"

#include <bit>
#include <cstdint>

#include "platform/metadata/text_decoding.h"

namespace quellor::metadata {

namespace {

template <typename Unsigned>
Unsigned number(ByteView bytes, ByteOrder order) {
  return static_cast<Unsigned>(readUnsigned(bytes.first(sizeof(Unsigned)), order));
}

/// The two's complement number of the width of `Signed`, widened.
template <typename Signed, typename Unsigned>
std::int64_t signedNumber(ByteView bytes, ByteOrder order) {
  return std::bit_cast<Signed>(number<Unsigned>(bytes, order));
}

PropertyValue decodeNumber(TiffType type, ByteView bytes, ByteOrder order) {
  switch (type) {
    case TiffType::signedByte:
      return signedNumber<std::int8_t, std::uint8_t>(bytes, order);
    case TiffType::shortInteger:
      return std::int64_t{number<std::uint16_t>(bytes, order)};
    case TiffType::signedShort:
      return signedNumber<std::int16_t, std::uint16_t>(bytes, order);
    case TiffType::longInteger:
    case TiffType::ifd:
      return number<std::uint32_t>(bytes, order);
    case TiffType::signedLong:
      return signedNumber<std::int32_t, std::uint32_t>(bytes, order);
    case TiffType::long8:
    case TiffType::signedLong8:
      return signedNumber<std::int64_t, std::uint64_t>(bytes, order);
    case TiffType::rational:
      return Rational{number<std::uint32_t>(bytes, order), number<std::uint32_t>(bytes.subspan(4), order)};
    case TiffType::signedRational:
      return Rational{signedNumber<std::int32_t, std::uint32_t>(bytes, order),
                      signedNumber<std::int32_t, std::uint32_t>(bytes.subspan(4), order)};
    case TiffType::floatNumber:
      return static_cast<double>(std::bit_cast<float>(number<std::uint32_t>(bytes, order)));
    case TiffType::doubleNumber:
      return std::bit_cast<double>(number<std::uint64_t>(bytes, order));
    default:
      return std::int64_t{number<std::uint8_t>(bytes, order)};
  }
}

bool isByteType(TiffType type) { return type == TiffType::byte || type == TiffType::signedByte; }

}  // namespace

std::optional<PropertyValue> TiffValueDecoder::decode(const TiffEntry& entry) {
  if (!entry.valueReadable || entry.valueSize > bytesLeft_) return std::nullopt;
  bytesLeft_ -= entry.valueSize;
  const ByteView bytes = valueBytes(block_, entry);
  const auto type = static_cast<TiffType>(entry.type);
  if (type == TiffType::ascii) return decodeTerminatedText(bytes);
  if (type == TiffType::undefined) return Bytes(bytes.begin(), bytes.end());
  if (entry.count == 1) return decodeNumber(type, bytes, block_.order);
  return decodeNumbers(type, bytes);
}

PropertyValue TiffValueDecoder::decodeNumbers(TiffType type, ByteView bytes) {
  const std::size_t unit = tiffTypeSize(static_cast<std::uint16_t>(type));
  const std::size_t count = bytes.size() / unit;
  if (count > listValuesLeft_ || (isByteType(type) && count > kMaximumByteList)) {
    return Bytes(bytes.begin(), bytes.end());
  }
  listValuesLeft_ -= count;
  PropertyList list;
  list.reserve(count);
  for (std::size_t i = 0; i < count; ++i)
    list.push_back(decodeNumber(type, bytes.subspan(i * unit, unit), block_.order));
  return list;
}

}  // namespace quellor::metadata
