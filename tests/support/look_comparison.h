#pragma once
#include <iostream>
#include <string>

#include <gtest/gtest.h>

#include "platform/formats/image_format.h"

/// Holds looks and decodings together.
namespace quellor::test_support {

/// What was compared, for the log of a test.
struct Comparisons {
  int files = 0;
  int whole = 0;
};

/// Fails where the look at `file` and its decoding differ. `what` names the file in the message.
template <typename Name>
void compareLook(ByteView file, const Name& what, Comparisons& comparisons) {
  const ImageFormat* const format = formatOf(file);
  if (format == nullptr) return;
  ++comparisons.files;
  const auto look = format->look(file);
  const auto raster = format->decode(file);
  EXPECT_EQ(look.has_value(), raster.has_value())
      << what() << ": look: " << look.reason() << ", decoding: " << raster.reason();
  if (!look || !raster) return;
  ++comparisons.whole;
  EXPECT_EQ(look->shape, shapeOf(*raster)) << what();
  if (look->raster) {
    EXPECT_EQ(shapeOf(*look->raster), shapeOf(*raster)) << what();
    EXPECT_TRUE(look->raster->hasSamples()) << what();
  }
}

/// The same for `file` cut short at every length, and with every byte changed in turn.
inline void compareLookAtDamaged(ByteView file, const std::string& what, Comparisons& comparisons) {
  for (std::size_t size = 0; size < file.size(); ++size) {
    compareLook(
        file.first(size), [&] { return what + " cut to " + std::to_string(size); }, comparisons);
  }
  Bytes changed(file.begin(), file.end());
  for (std::size_t place = 0; place < file.size(); ++place) {
    for (const int flip : {0x01, 0x80}) {
      changed[place] = static_cast<std::uint8_t>(file[place] ^ flip);
      compareLook(
          changed, [&] { return what + " with another byte " + std::to_string(place); }, comparisons);
    }
    changed[place] = file[place];
  }
}

inline void report(const Comparisons& comparisons) {
  EXPECT_GT(comparisons.files, 0);
  std::cout << comparisons.files << " files compared, " << comparisons.whole << " of them whole\n";
}

}  // namespace quellor::test_support
