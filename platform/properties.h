#pragma once
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/values/metadata_blocks.h"

namespace quellor {

class PropertyValue;

/// A fraction as Exif stores it: two 32-bit numbers, signed or unsigned. The denominator may be zero.
struct Rational {
  std::int64_t numerator = 0;
  std::int64_t denominator = 1;
  friend bool operator==(const Rational&, const Rational&) = default;
};

using PropertyList = std::vector<PropertyValue>;

/// Properties of one image: text keys, values of the kinds of PropertyValue, in ascending key order.
///
/// A dictionary that was read from a file remembers the blocks that it was read from, so that a writer can edit
/// those in place; copies of the dictionary share them, and changing entries never changes them. It also remembers by
/// name what was removed from it, whether or not it was there: a block may hold what its reader did not find.
class PropertyDictionary {
 public:
  using Entries = std::map<std::string, PropertyValue, std::less<>>;

  [[nodiscard]] bool empty() const { return entries_.empty(); }
  [[nodiscard]] std::size_t size() const { return entries_.size(); }
  [[nodiscard]] bool contains(std::string_view key) const { return find(key) != nullptr; }
  [[nodiscard]] const Entries& entries() const { return entries_; }

  /// The value under `key`, or null. Valid until the dictionary changes.
  [[nodiscard]] const PropertyValue* find(std::string_view key) const;
  [[nodiscard]] PropertyValue* find(std::string_view key);

  /// Adds an entry or replaces the one under the same key, which counts as removed no longer.
  void set(std::string_view key, PropertyValue value);

  /// Removes the entry under `key`, if there is one, and marks the key as removed. Returns whether there was one.
  bool remove(std::string_view key);

  /// Removes `key` from the dictionary under `group` and marks it as removed, even where there is no such dictionary.
  /// A value of another kind under `group` is left as it is. Returns whether there was an entry.
  bool removeNested(std::string_view group, std::string_view key);

  /// Whether the key carries the mark of remove().
  [[nodiscard]] bool wasRemoved(std::string_view key) const;

  /// Whether `key` of the dictionary under `group`, or that dictionary as a whole, was removed.
  [[nodiscard]] bool wasRemoved(std::string_view group, std::string_view key) const;

  /// Whether a top-level key that begins with `prefix` was removed.
  [[nodiscard]] bool wasAnyRemoved(std::string_view prefix) const;

  /// Null when the dictionary was not read from a file.
  [[nodiscard]] const std::shared_ptr<const MetadataBlocks>& blocks() const { return blocks_; }
  void rememberBlocks(std::shared_ptr<const MetadataBlocks> blocks) { blocks_ = std::move(blocks); }

  /// Compares the entries only.
  friend bool operator==(const PropertyDictionary& a, const PropertyDictionary& b);

 private:
  Entries entries_;
  std::set<std::string, std::less<>> removed_;                   // keys at this level
  std::set<std::pair<std::string, std::string>> removedNested_;  // group and key
  std::shared_ptr<const MetadataBlocks> blocks_;
};

/// One value of a property dictionary. The kinds stay apart: an unsigned 32-bit integer is not an integer, and a
/// rational is not a number.
class PropertyValue {
 public:
  using Kind = std::variant<std::int64_t, std::uint32_t, double, bool, std::string, Rational, Bytes, PropertyList,
                            PropertyDictionary>;

  PropertyValue(std::int64_t integer) : kind_(integer) {}
  PropertyValue(int integer) : kind_(std::int64_t{integer}) {}
  PropertyValue(std::uint32_t unsignedInteger) : kind_(unsignedInteger) {}
  PropertyValue(double number) : kind_(number) {}
  PropertyValue(bool boolean) : kind_(boolean) {}
  PropertyValue(std::string text) : kind_(std::move(text)) {}
  PropertyValue(const char* text) : kind_(std::string(text)) {}
  PropertyValue(Rational rational) : kind_(rational) {}
  PropertyValue(Bytes bytes) : kind_(std::move(bytes)) {}
  PropertyValue(PropertyList list) : kind_(std::move(list)) {}
  PropertyValue(PropertyDictionary dictionary) : kind_(std::move(dictionary)) {}

  /// The value as `T`, one of the alternatives of Kind, or null when it is of another kind.
  template <typename T>
  [[nodiscard]] const T* as() const {
    return std::get_if<T>(&kind_);
  }
  template <typename T>
  [[nodiscard]] T* as() {
    return std::get_if<T>(&kind_);
  }

  friend bool operator==(const PropertyValue& a, const PropertyValue& b) { return a.kind_ == b.kind_; }

 private:
  Kind kind_;
};

/// Keys of an image's top-level properties, and of the nested entries that this system looks at by name.
namespace property_key {
inline constexpr std::string_view kColorModel = "ColorModel";  // text: "RGB", "Gray" or "CMYK"
inline constexpr std::string_view kDepth = "Depth";            // integer: bits per component
inline constexpr std::string_view kPixelWidth = "PixelWidth";  // integer: as stored, before orientation
inline constexpr std::string_view kPixelHeight = "PixelHeight";
inline constexpr std::string_view kHasAlpha = "HasAlpha";        // boolean, only when true
inline constexpr std::string_view kOrientation = "Orientation";  // integer: 1 to 8 (Exif 2.32, tag 0x0112)
inline constexpr std::string_view kDpiWidth = "DPIWidth";        // number: pixels per inch
inline constexpr std::string_view kDpiHeight = "DPIHeight";
inline constexpr std::string_view kProfileName = "ProfileName";    // text: description of the embedded ICC profile
inline constexpr std::string_view kPrimaryImage = "PrimaryImage";  // integer: 0; HEIF files with more than one image
inline constexpr std::string_view kExif = "{Exif}";
inline constexpr std::string_view kGps = "{GPS}";
inline constexpr std::string_view kTiff = "{TIFF}";
inline constexpr std::string_view kIptc = "{IPTC}";
inline constexpr std::string_view kXmp = "{XMP}";  // bytes: the packet
inline constexpr std::string_view kJfif = "{JFIF}";
inline constexpr std::string_view kPng = "{PNG}";
inline constexpr std::string_view kGif = "{GIF}";
inline constexpr std::string_view kMakerPrefix = "{Maker";  // of the maker dictionaries: "{MakerCanon}"
inline constexpr std::string_view kTiffMake = "Make";
inline constexpr std::string_view kTiffModel = "Model";
inline constexpr std::string_view kExifMakerNote = "MakerNote";
}  // namespace property_key

}  // namespace quellor
