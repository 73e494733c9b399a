#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "platform/values/bytes.h"
#include "tests/support/heif_builder.h"

/// HEIC files as others write them: pictures by the HEIF library's encoder, whatever stands around them by hand.
namespace quellor::test_support {

/// The file that the library's own program makes of a PNG file. `arguments` are passed to it. Raises
/// std::runtime_error where it makes none.
Bytes encodedByHeifLibrary(ByteView png, const std::vector<std::string>& arguments = {});

/// A HEIC file of 64 by 48 pixels, to be added to before it is built. Item 1 is the picture, with a profile.
class HeifPhoto {
 public:
  HeifPhoto();

  /// Properties of the picture behind those that it has.
  HeifPhoto& with(const Bytes& property);
  HeifPhoto& withExif(const Bytes& tiff);
  HeifPhoto& withPacket(std::string_view packet);
  HeifPhoto& withIptc(const Bytes& datasets);
  /// The same picture again as an auxiliary image, perhaps with a packet of its own.
  HeifPhoto& withAuxiliary(const std::string& urn, std::string_view packet = {});
  HeifPhoto& withThumbnail();
  HeifPhoto& withHiddenPicture();
  /// The same picture again as one that can be looked at by itself.
  HeifPhoto& withFurtherPicture();

  [[nodiscard]] Bytes build() const { return builder_.build(); }

  HeifBuilder& builder() { return builder_; }

 private:
  BuiltItem& addPicture(std::string_view reference);
  void addDescription(std::uint32_t of, const std::string& type, const Bytes& data,
                      const std::string& contentType = {});

  HeifBuilder builder_;
};

}  // namespace quellor::test_support
