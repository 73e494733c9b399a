#pragma once
#include <optional>
#include <string>
#include <vector>

#include "platform/values/bytes.h"
#include "tests/samples/scene.h"

/// The sample files that the project makes itself, and what everybody must see in them: that is what they were made
/// of, never what the program says of them.
namespace quellor::samples {

struct Facts {
  Size size = kScene;  // as stored
  int bits = 8;
  std::optional<int> orientation = std::nullopt;
  int images = 1;
  std::string color = "kCGColorSpaceSRGB";  // the name of the colour space
  Bytes profile = {};                       // embedded for the primary image
  std::vector<std::string> auxiliaries = {};
};

struct Sample {
  std::string name;  // of the file
  Bytes file;
  Facts facts = {};
  std::string outcome = "ok";  // or the error codes that inspecting it may end in, separated by "|"
};

using Samples = std::vector<Sample>;

inline constexpr const char* kGreySpace = "kCGColorSpaceGenericGrayGamma2_2";

// The chapters, each of one kind of file.
void addPictures(Samples& samples);      // HEIF: depths, chroma formats, code points, tools of the coding
void addTransformed(Samples& samples);   // HEIF: turned, mirrored, cropped
void addDerived(Samples& samples);       // HEIF: grids, overlays, identities
void addCompanions(Samples& samples);    // HEIF: alpha, gain maps, depth, thumbnails, further pictures
void addOtherCodings(Samples& samples);  // HEIF: JPEG and AV1, and codings that nobody reads
void addLibraryFiles(Samples& samples);  // HEIF: as the HEIF library writes it
void addJpegFiles(Samples& samples);
void addPngFiles(Samples& samples);
void addTiffFiles(Samples& samples);
void addWebpFiles(Samples& samples);
void addGifFiles(Samples& samples);
void addDescribed(Samples& samples);  // all formats: Exif, positions, maker notes, packets
void addDamaged(Samples& samples);    // all formats: cut short, overwritten; needs the files before it

}  // namespace quellor::samples
