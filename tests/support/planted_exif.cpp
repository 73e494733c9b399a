#include <algorithm>
#include <functional>
#include <initializer_list>
#include <optional>
#include <utility>

#include "tests/support/byte_texts.h"
#include "tests/support/planted_metadata.h"
#include "tests/support/tiff_structure.h"

namespace quellor::test_support {
namespace {

using Entry = TiffStructure::Entry;

constexpr std::uint16_t kUnknownType = 99;
constexpr std::uint32_t kOutside = 0x00FFFFF0;

/// What to put into a block beside or instead of what is usual.
struct Plan {
  bool bigEndian = false;
  std::vector<Entry> picture;      // tags of a picture in the first directory
  std::vector<Entry> more;         // other entries of the first directory
  std::vector<Entry> badPointers;  // before the one that leads to the position
  std::uint16_t pointerType = 4;
  std::uint32_t pointerCount = 1;
  bool pointerInExif = false;
  bool noPointer = false;       // the position stands there all the same
  bool positionInLink = false;  // the first directory's link leads to it
  std::vector<Entry> moreGps;
  std::optional<std::uint32_t> noteCount;
  std::uint16_t noteType = 7;
  bool noteInFirst = false;
  std::uint16_t makeType = 2;
  std::uint32_t firstDirectory = 8;
  Bytes behind;
};

Entry pointerEntry(const TiffStructure& s, const Plan& plan, std::uint32_t at) {
  const std::size_t size = plan.pointerType == 3 || plan.pointerType == 8 ? 2 : plan.pointerType == 16 ? 8 : 4;
  return {34853, plan.pointerType, plan.pointerCount, s.number(at, size)};
}

std::vector<Entry> gpsEntries(const Plan& plan) {
  std::vector<Entry> gps = {TiffStructure::textEntry(1, "N"), TiffStructure::textEntry(18, kPlantedPosition),
                            TiffStructure::undefinedEntry(27, bytesOf(kPlantedPosition))};
  gps.insert(gps.end(), plan.moreGps.begin(), plan.moreGps.end());
  return gps;
}

Bytes blockOf(const Plan& plan) {
  TiffStructure s(plan.bigEndian, plan.firstDirectory);
  const Bytes noteBytes = bytesOf(kPlantedNote);
  const Entry note = {37500, plan.noteType, plan.noteCount.value_or(static_cast<std::uint32_t>(noteBytes.size())),
                      noteBytes};

  // Offsets are known once the sizes are, and those do not depend on the offsets: laid out twice.
  std::uint32_t exifAt = 0, gpsAt = 0;
  std::vector<Entry> first, exif;
  for (int pass = 0; pass < 2; ++pass) {
    first = plan.picture;
    Entry make = TiffStructure::textEntry(271, kPlantedMake);
    make.type = plan.makeType;
    first.push_back(make);
    first.push_back(TiffStructure::textEntry(272, kPlantedModel));
    first.push_back(TiffStructure::textEntry(305, "kept software"));
    first.insert(first.end(), plan.more.begin(), plan.more.end());
    if (plan.noteInFirst) first.push_back(note);
    first.push_back(s.longEntry(34665, exifAt));
    exif = {s.rationalEntry(33434, 1, 125)};
    if (!plan.noteInFirst) exif.push_back(note);
    std::vector<Entry>& pointing = plan.pointerInExif ? exif : first;
    pointing.insert(pointing.end(), plan.badPointers.begin(), plan.badPointers.end());
    if (!plan.noPointer && !plan.positionInLink) pointing.push_back(pointerEntry(s, plan, gpsAt));
    exifAt = s.end() + TiffStructure::sizeOf(first);
    gpsAt = exifAt + TiffStructure::sizeOf(exif);
  }
  s.directory(first, plan.positionInLink ? gpsAt : 0).directory(exif).directory(gpsEntries(plan));
  return TiffStructure::joined({s.bytes(), plan.behind});
}

Bytes cut(Bytes bytes, std::size_t size) {
  bytes.resize(std::min(size, bytes.size()));
  return bytes;
}

Bytes overwritten(Bytes bytes, std::size_t at, const Bytes& with) {
  std::copy(with.begin(), with.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
  return bytes;
}

std::size_t placeOf(const Bytes& bytes, std::string_view text) {
  return static_cast<std::size_t>(std::search(bytes.begin(), bytes.end(), text.begin(), text.end()) - bytes.begin());
}

/// Forms whose damage is inside of the directories, so that they can stand in a TIFF file as well.
std::vector<std::pair<std::string, Plan>> damagedPlans(bool bigEndian) {
  const TiffStructure n(bigEndian);
  Plan plain;
  plain.bigEndian = bigEndian;
  std::vector<std::pair<std::string, Plan>> plans = {{"in order", plain}};
  const auto add = [&](const char* form, const std::function<void(Plan&)>& change) {
    plans.emplace_back(form, plain);
    change(plans.back().second);
  };
  for (const std::uint16_t type : std::initializer_list<std::uint16_t>{1, 2, 3, 6, 7, 8, 9, 11, 13, 16, 18, 99}) {
    add(("pointer of type " + std::to_string(type)).c_str(), [&](Plan& p) { p.pointerType = type; });
  }
  for (const std::uint32_t count : {0U, 2U, 1000U}) {
    add(("pointer with count " + std::to_string(count)).c_str(), [&](Plan& p) { p.pointerCount = count; });
  }
  for (const std::uint32_t bad : {0U, 8U, kOutside, 0xFFFFFFFFU}) {
    add(("pointer to " + std::to_string(bad) + " first").c_str(),
        [&](Plan& p) { p.badPointers = {n.longEntry(34853, bad)}; });
  }
  add("many bad pointers first", [&](Plan& p) { p.badPointers.assign(20, n.longEntry(34853, kOutside)); });
  add("pointer in the Exif directory", [](Plan& p) { p.pointerInExif = true; });
  add("pointer of type SHORT in the Exif directory", [](Plan& p) { p.pointerInExif = true, p.pointerType = 3; });
  add("no pointer", [](Plan& p) { p.noPointer = true; });
  add("position behind the link", [](Plan& p) { p.positionInLink = true; });
  add("position with an entry of unknown type", [](Plan& p) {
    p.moreGps = {{30, kUnknownType, 20, bytesOf(kPlantedPosition)}};
  });
  add("position with an entry that leads outside", [&](Plan& p) { p.moreGps = {{2, 5, 3, n.number(kOutside, 4)}}; });
  add("position with an entry whose count is too large", [](Plan& p) {
    p.moreGps = {{28, 7, 5000, bytesOf(kPlantedPosition)}};
  });
  add("maker note past the block", [](Plan& p) { p.noteCount = 70000; });
  add("maker note far past the block", [](Plan& p) { p.noteCount = 0xFFFFFFFF; });
  add("maker note without bytes", [](Plan& p) { p.noteCount = 0; });
  add("maker note of one byte", [](Plan& p) { p.noteCount = 1; });
  add("maker note of unknown type", [](Plan& p) { p.noteType = kUnknownType; });
  add("maker note as text", [](Plan& p) { p.noteType = 2; });
  add("maker note in the first directory", [](Plan& p) { p.noteInFirst = true; });
  add("maker of unknown type", [](Plan& p) { p.makeType = kUnknownType; });
  add("maker as bytes", [](Plan& p) { p.makeType = 7; });
  add("maker twice", [](Plan& p) { p.more = {TiffStructure::textEntry(271, kPlantedMake)}; });
  add("copies in Photoshop resources", [](Plan& p) {
    p.more = {TiffStructure::undefinedEntry(34377, bytesOf(std::string(kPlantedPosition) + std::string(kPlantedMake)))};
  });
  add("copies behind the block", [](Plan& p) {
    p.behind = bytesOf(std::string(kPlantedPosition) + std::string(kPlantedMake) + std::string(kPlantedModel) +
                       std::string(kPlantedNote));
  });
  return plans;
}

}  // namespace

std::vector<Planted> plantedExifBlocks() {
  std::vector<Planted> blocks;
  for (const bool bigEndian : {false, true}) {
    const char* const order = bigEndian ? ", big-endian" : ", little-endian";
    for (const auto& [form, plan] : damagedPlans(bigEndian)) blocks.push_back({form + order, blockOf(plan)});
  }
  const Bytes block = blockOf({});
  const TiffStructure n(false);
  const auto add = [&](const std::string& form, Bytes bytes) { blocks.push_back({form, std::move(bytes)}); };
  const auto behind = [&block](std::string_view junk) { return TiffStructure::joined({bytesOf(junk), block}); };
  using namespace std::string_view_literals;
  add("behind a prefix", behind("Exif\0\0"sv));
  add("behind two prefixes", behind("Exif\0\0Exif\0\0"sv));
  add("behind a prefix in lower case", behind("exif\0\0"sv));
  add("behind four bytes", behind("junk"sv));
  add("behind a line end", behind("\n"sv));
  add("of version 43", overwritten(block, 2, {43, 0}));
  add("of version 85", overwritten(block, 2, {85, 0}));
  add("in mixed byte order", overwritten(block, 0, {'I', 'M'}));
  add("in the wrong byte order", overwritten(block, 0, {'M', 'M'}));
  for (const std::uint32_t at : {0U, 4U, 7U, 9U, kOutside, 0xFFFFFFFFU}) {
    add("first directory at " + std::to_string(at), overwritten(block, 4, n.number(at, 4)));
  }
  for (const std::uint16_t count : std::initializer_list<std::uint16_t>{0, 1, 2, 4, 100, 65535}) {
    add("first directory with the count " + std::to_string(count), overwritten(block, 8, n.number(count, 2)));
  }
  add("of zeros and the values", overwritten(block, 0, Bytes(64, 0)));
  for (std::size_t size = 0; size <= 8; ++size) add("cut to " + std::to_string(size) + " bytes", cut(block, size));
  const std::size_t position = placeOf(block, kPlantedPosition);
  add("cut inside the position", cut(block, position + kPlantedPosition.size() - 4));
  add("cut behind the position's first text", cut(block, position + kPlantedPosition.size()));
  add("cut by one byte", cut(block, block.size() - 1));
  add("cut behind the maker", cut(block, placeOf(block, kPlantedMake) + kPlantedMake.size()));
  return blocks;
}

std::vector<Planted> plantedTiffFiles() {
  const TiffStructure n(false);
  const std::vector<Entry> picture = {n.shortEntry(256, 1), n.shortEntry(257, 1), n.shortEntry(258, 8),
                                      n.shortEntry(259, 1), n.shortEntry(262, 1), n.longEntry(273, 2),
                                      n.shortEntry(277, 1), n.shortEntry(278, 1), n.longEntry(279, 1)};
  std::vector<Planted> files;
  for (auto& [form, plan] : damagedPlans(false)) {
    plan.picture = picture;
    files.push_back({form, blockOf(plan)});
  }
  return files;
}

}  // namespace quellor::test_support
