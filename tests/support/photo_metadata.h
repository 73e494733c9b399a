#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "tests/support/byte_texts.h"
#include "tests/support/tiff_structure.h"

/// What a phone writes about a photo, in small: a maker note, a position, a packet that tells the same once more.
namespace quellor::test_support {

/// Exif with Make, Model, resolution, orientation, software, exposure, lens, a maker note ("Apple iOS", one entry)
/// and a GPS position.
inline Bytes photoExif(std::uint16_t orientation = 6) {
  TiffStructure s(true);
  const auto rationals = [&s](std::initializer_list<std::uint32_t> numbers) {
    Bytes bytes;
    for (const std::uint32_t number : numbers) bytes = TiffStructure::joined({bytes, s.number(number, 4)});
    return bytes;
  };
  std::vector<TiffStructure::Entry> first = {TiffStructure::textEntry(271, "Maker Inc"),
                                             TiffStructure::textEntry(272, "Model One"),
                                             s.shortEntry(274, orientation),
                                             s.rationalEntry(282, 72, 1),
                                             s.rationalEntry(283, 72, 1),
                                             s.shortEntry(296, 2),
                                             TiffStructure::textEntry(305, "Camera 1.0"),
                                             s.longEntry(34665, 0),
                                             s.longEntry(34853, 0)};
  const Bytes note = bytesOf(std::string_view("Apple iOS\0\0\1MM\0\1\0\1\0\x09\0\0\0\1\0\0\0\x0E\0\0\0\0", 32));
  const std::vector<TiffStructure::Entry> exif = {s.rationalEntry(33434, 1, 125), s.shortEntry(34855, 100),
                                                  TiffStructure::undefinedEntry(37500, note),
                                                  TiffStructure::textEntry(42036, "A lens of some kind")};
  const std::vector<TiffStructure::Entry> gps = {{0, 1, 4, {2, 3, 0, 0}},
                                                 TiffStructure::textEntry(1, "N"),
                                                 {2, 5, 3, rationals({47, 1, 22, 1, 1250, 100})},
                                                 TiffStructure::textEntry(3, "E"),
                                                 {4, 5, 3, rationals({8, 1, 32, 1, 3025, 100})}};
  const std::uint32_t exifAt = s.end() + TiffStructure::sizeOf(first);
  first[7] = s.longEntry(34665, exifAt);
  first[8] = s.longEntry(34853, exifAt + TiffStructure::sizeOf(exif));
  return s.directory(first).directory(exif).directory(gps).bytes();
}

/// A packet with the position, make and model once more, and with a title that is nobody's secret.
inline constexpr std::string_view kPhotoPacket =
    "<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'?><x:xmpmeta xmlns:x='adobe:ns:meta/'>"
    "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><rdf:Description rdf:about='' "
    "xmlns:exif='http://ns.adobe.com/exif/1.0/' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' "
    "xmlns:photoshop='http://ns.adobe.com/photoshop/1.0/' exif:GPSLatitude='47,22.2083N' "
    "exif:GPSLongitude='8,32.5042E' tiff:Make='Maker Inc' tiff:Model='Model One' photoshop:Headline='A meadow'/>"
    "</rdf:RDF></x:xmpmeta><?xpacket end='w'?>";

/// IPTC datasets (IIM 4.2): a title.
inline Bytes photoIptc() { return bytesOf(std::string_view("\x1C\2\5\0\5Title", 10)); }

}  // namespace quellor::test_support
