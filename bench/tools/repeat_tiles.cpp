// Makes a large photo of a smaller one, by repeating its coded tiles:
//
//   repeat_tiles INPUT OUTPUT COLUMNS ROWS WIDTH HEIGHT
//
// INPUT is a HEIF file whose primary image is a grid of HEVC tiles without alpha. OUTPUT becomes a grid of COLUMNS x
// ROWS tiles, shown WIDTH x HEIGHT, with the properties and the metadata of INPUT. Cameras of 200 megapixels write
// such files, but hardly anybody has one at hand. Every tile is given a number, so that no two are the same and what
// recognises pictures that it has seen finds none.

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iostream>
#include <iterator>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string_view>

#include "platform/heif/box_writer.h"
#include "platform/heif/container_reader.h"
#include "platform/heif/container_writer.h"
#include "platform/heif/heif_facts.h"
#include "platform/heif/output_editing.h"
#include "platform/heif/primary_copy.h"

namespace quellor::heif {
namespace {

constexpr FourCC kGrid = fourCC("grid");
constexpr FourCC kDerivedFrom = fourCC("dimg");
constexpr FourCC kSpatialExtents = fourCC("ispe");
constexpr FourCC kDecoderConfiguration = fourCC("hvcC");

/// A grid as its item's data describes it (ISO/IEC 23008-12, 6.6.2.3).
struct Grid {
  std::uint32_t columns = 0;  // of tiles, 1 to 256
  std::uint32_t rows = 0;
  std::uint32_t width = 0;  // of the image, in pixels
  std::uint32_t height = 0;
};

Bytes joined(const std::vector<ByteView>& runs) {
  Bytes bytes;
  for (const ByteView run : runs) bytes.insert(bytes.end(), run.begin(), run.end());
  return bytes;
}

/// The tiles' arrangement only; nobody here needs the size.
Grid arrangementOf(const OutputItem& item) {
  const Bytes data = joined(item.data);
  if (data.size() < 4) throw std::runtime_error("the grid is too short");
  return {data[3] + 1U, data[2] + 1U, 0, 0};
}

Bytes gridData(const Grid& grid) {
  constexpr std::uint8_t version = 0, longSizes = 1;
  BoxWriter writer;
  writer.u8(version).u8(longSizes).u8(grid.rows - 1).u8(grid.columns - 1).u32(grid.width).u32(grid.height);
  return writer.take();
}

Bytes spatialExtents(const Grid& grid) {
  BoxWriter writer;
  writer.fullBox(kSpatialExtents, 0, 0, [&] { writer.u32(grid.width).u32(grid.height); });
  return writer.take();
}

FourCC typeOf(ByteView box) { return ByteReader(box.subspan(4, 4)).u32(); }

/// A unit that follows a picture's slices and changes nothing of it: a suffix SEI message with unregistered user data
/// (ITU-T H.265, 7.3.2.4 and D.2.7), behind its length. No byte is 0, so none needs an emulation prevention byte.
Bytes numberUnit(std::uint32_t number) {
  constexpr std::string_view identifier = "repeated picture";  // 16 bytes, where a UUID is expected
  constexpr std::uint8_t suffixSei = 40, userDataUnregistered = 5, numberBytes = 4, stop = 0x80;
  constexpr std::size_t unitBytes = 4 + identifier.size() + numberBytes + 1;
  BoxWriter writer;
  writer.u32(unitBytes).u8(suffixSei << 1U).u8(1).u8(userDataUnregistered).u8(identifier.size() + numberBytes);
  for (const char character : identifier) writer.u8(static_cast<std::uint8_t>(character));
  for (unsigned shift = 0; shift < 7 * numberBytes; shift += 7) {
    writer.u8(static_cast<std::uint8_t>(0x80U | (number >> shift & 0x7fU)));
  }
  return writer.u8(stop).take();
}

/// Whether the lengths before the units are of 4 bytes (ISO/IEC 14496-15, 8.3.3.1.2).
bool hasLongLengths(ByteView decoderConfiguration) {
  constexpr std::size_t boxHeader = 8, lengthSizePlace = 21;
  return decoderConfiguration.size() > boxHeader + lengthSizePlace &&
         (decoderConfiguration[boxHeader + lengthSizePlace] & 3U) == 3;
}

class TileRepeater {
 public:
  TileRepeater(OutputFile file, const Grid& wanted) : file_(std::move(file)), wanted_(wanted) {}

  OutputFile make() {
    const auto grid = std::find_if(file_.items.begin(), file_.items.end(),
                                   [&](const OutputItem& item) { return item.id == file_.primaryItem; });
    if (grid == file_.items.end() || grid->type != kGrid) throw std::runtime_error("the primary image is no grid");
    if (file_.references.size() != 1 || file_.references[0].type != kDerivedFrom) {
      throw std::runtime_error("the image has more than its tiles");
    }
    OutputItem primary = *grid;
    const Grid source = arrangementOf(primary);
    const std::vector<OutputItem> tiles = tilesOf(source);
    for (const Bytes& property : file_.properties) {
      if (typeOf(property) == kDecoderConfiguration && !hasLongLengths(property)) {
        throw std::runtime_error("the units' lengths are not of 4 bytes");
      }
    }
    resize(primary);
    file_.items = {std::move(primary)};
    repeat(tiles, source);
    return std::move(file_);
  }

 private:
  /// In the grid's order, row by row.
  [[nodiscard]] std::vector<OutputItem> tilesOf(const Grid& source) const {
    std::vector<OutputItem> tiles;
    for (const ItemId id : file_.references[0].to) {
      const auto tile =
          std::find_if(file_.items.begin(), file_.items.end(), [&](const OutputItem& item) { return item.id == id; });
      if (tile != file_.items.end()) tiles.push_back(*tile);
    }
    if (tiles.size() != std::size_t{source.columns} * source.rows) throw std::runtime_error("tiles are missing");
    return tiles;
  }

  void append(Bytes bytes, OutputItem& item) {
    const auto owned = std::make_shared<const Bytes>(std::move(bytes));
    file_.owned.push_back(owned);
    item.data.emplace_back(*owned);
  }

  void resize(OutputItem& primary) {
    const auto data = std::make_shared<const Bytes>(gridData(wanted_));
    file_.owned.push_back(data);
    primary.data = {ByteView(*data)};
    for (OutputAssociation& association : primary.properties) {
      if (typeOf(file_.properties[association.index]) == kSpatialExtents) association.index = file_.properties.size();
    }
    file_.properties.push_back(spatialExtents(wanted_));
  }

  void repeat(const std::vector<OutputItem>& tiles, const Grid& source) {
    ItemId next = file_.primaryItem;
    Reference& derivation = file_.references[0];
    derivation.to.clear();
    for (std::uint32_t row = 0; row < wanted_.rows; ++row) {
      for (std::uint32_t column = 0; column < wanted_.columns; ++column) {
        OutputItem tile = tiles[std::size_t{row % source.rows} * source.columns + column % source.columns];
        tile.id = ++next;
        append(numberUnit(next), tile);
        derivation.to.push_back(tile.id);
        file_.items.push_back(std::move(tile));
      }
    }
  }

  OutputFile file_;
  Grid wanted_;
};

void writeRepeated(const char* input, const char* output, const Grid& wanted) {
  std::ifstream stream(input, std::ios::binary);
  const Bytes bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  const auto container = readContainer(bytes);
  const auto facts = factsOf(bytes);
  auto copy = container ? copyOfPrimaryImage(*container) : std::nullopt;
  if (!copy || !facts) throw std::runtime_error("the input has no HEVC image");
  OutputFile file = TileRepeater(std::move(*copy), wanted).make();
  addMetadata(file, facts->metadata);
  const auto serialised = serialise(file);
  if (!serialised) throw std::runtime_error("the grid cannot be written");
  std::ofstream written(output, std::ios::binary);
  for (const ByteView part : serialised->parts()) {
    written.write(reinterpret_cast<const char*>(part.data()), static_cast<std::streamsize>(part.size()));
  }
  if (!written.flush()) throw std::runtime_error("the output cannot be written");
}

/// A number from 1 to `greatest`.
std::uint32_t number(std::string_view text, std::uint32_t greatest) {
  std::uint32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value == 0 || value > greatest) {
    throw std::runtime_error("not a usable number: " + std::string(text));
  }
  return value;
}

}  // namespace
}  // namespace quellor::heif

int main(int count, char** arguments) {
  using namespace quellor::heif;
  if (count != 7) {
    std::cerr << "usage: repeat_tiles INPUT OUTPUT COLUMNS ROWS WIDTH HEIGHT\n";
    return 64;
  }
  try {
    constexpr std::uint32_t greatestCount = 256, greatestSize = std::numeric_limits<std::int32_t>::max();
    const Grid wanted = {number(arguments[3], greatestCount), number(arguments[4], greatestCount),
                         number(arguments[5], greatestSize), number(arguments[6], greatestSize)};
    writeRepeated(arguments[1], arguments[2], wanted);
  } catch (const std::exception& error) {
    std::cerr << "repeat_tiles: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
