#include "observe/image_access.h"

#include "platform/values/sha256.h"
#include "protocol/failure.h"

namespace quellor {
namespace {

/// A number's integer value, or absent where no 64-bit integer has it.
std::optional<std::int64_t> integerValue(double number) {
  const bool fits = number > -9223372036854775808.0 && number < 9223372036854775808.0;
  if (!fits) return std::nullopt;
  return static_cast<std::int64_t>(number);
}

}  // namespace

std::optional<PropertyDictionary> propertiesAtIndex(const ImageSource& source, std::size_t index) {
  return source.propertiesAt(index);
}

std::optional<std::int64_t> orientationFromProperties(const std::optional<PropertyDictionary>& properties) {
  const PropertyValue* const value = properties ? properties->find(orientationKey) : nullptr;
  if (value == nullptr) return std::nullopt;
  if (const auto* integer = value->as<std::int64_t>()) return *integer;
  if (const auto* unsignedInteger = value->as<std::uint32_t>()) return std::int64_t{*unsignedInteger};
  if (const auto* number = value->as<double>()) return integerValue(*number);
  return std::nullopt;
}

Image createPrimaryCGImage(const ImageSource& source, std::size_t index) {
  auto image = source.imageAt(index);
  if (!image) {
    throw HelperFailure("no_primary_image", "CGImageSourceCreateImageAtIndex failed at index " + std::to_string(index));
  }
  return std::move(*image);
}

IccInfo iccInfo(const std::optional<ColorSpace>& colorSpace) {
  if (!colorSpace || colorSpace->iccData() == nullptr) return {};
  const Bytes& profile = *colorSpace->iccData();
  return {static_cast<std::int64_t>(profile.size()), SHA256Hex(profile)};
}

std::string SHA256Hex(ByteView data) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : sha256(data)) {
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

}  // namespace quellor
