// Property: after a removal, the text that was planted is nowhere in the block or packet, in ASCII or UTF-16, except as
// the value of an entry or property that was not to go: damage may turn a tag or a name into another one.
//
// The input says what to remove, from which of the planted blocks and packets, and how to damage that first.

#include <algorithm>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "platform/metadata/exif_editor.h"
#include "platform/metadata/exif_prefix.h"
#include "platform/metadata/maker_notes.h"
#include "platform/metadata/xmp_editor.h"
#include "platform/metadata/xmp_namespaces.h"
#include "platform/metadata/xmp_properties.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/planted_metadata.h"

namespace {

using namespace quellor;
using namespace quellor::metadata;

/// Takes numbers from the input; zeros once it is used up.
class Choices {
 public:
  Choices(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  [[nodiscard]] bool any() const { return !rest_.empty(); }

  std::size_t below(std::size_t limit) {
    const std::size_t number = static_cast<std::size_t>(next() << 8 | next());
    return limit == 0 ? 0 : number % limit;
  }

  std::uint8_t next() {
    if (rest_.empty()) return 0;
    const std::uint8_t byte = rest_.front();
    rest_ = rest_.subspan(1);
    return byte;
  }

 private:
  ByteView rest_;
};

void damage(Bytes& bytes, Choices& choices) {
  while (choices.any() && !bytes.empty()) {
    const std::uint8_t kind = choices.next();
    const auto at = bytes.begin() + static_cast<std::ptrdiff_t>(choices.below(bytes.size()));
    switch (kind % 5) {
      case 0:
        *at = choices.next();
        break;
      case 1:
        bytes.erase(at, bytes.end());
        break;
      case 2:
        bytes.insert(at, choices.next());
        break;
      case 3:
        bytes.erase(at);
        break;
      default:
        *at ^= static_cast<std::uint8_t>(1U << (choices.next() % 8));
        break;
    }
  }
}

std::vector<std::string_view> goneWith(const MetadataRemovals& removals) {
  using namespace test_support;
  std::vector<std::string_view> texts;
  if (removals.position) texts.push_back(kPlantedPosition);
  if (removals.make) texts.push_back(kPlantedMake);
  if (removals.model) texts.push_back(kPlantedModel);
  if (removals.makerNote) texts.push_back(kPlantedNote);
  return texts;
}

void requireNothingIn(ByteView rest, const MetadataRemovals& removals) {
  for (const std::string_view text : goneWith(removals)) FUZZ_REQUIRE(!test_support::holdsText(rest, text));
}

/// Whether an entry with the tag may be in a block from which that was removed.
bool mayStay(std::uint16_t tag, const MetadataRemovals& removals) {
  return !(removals.position && tag == exif_tag::kGpsPointer) && !(removals.make && tag == exif_tag::kMake) &&
         !(removals.model && tag == exif_tag::kModel) && !(removals.makerNote && tag == exif_tag::kMakerNote);
}

void blank(Bytes& bytes, std::size_t begin, std::size_t end) {
  std::fill(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.begin() + static_cast<std::ptrdiff_t>(end), 0);
}

/// The block without the values of the entries in it.
Bytes withoutValues(const Bytes& block, const MetadataRemovals& removals) {
  Bytes rest = block;
  const auto directories = readExifDirectories(block);
  FUZZ_REQUIRE(directories);
  FUZZ_REQUIRE(!removals.position || directories->gps.empty());
  const auto blankIn = [&](const TiffDirectory& directory) {
    for (const TiffEntry& entry : directory.entries) {
      FUZZ_REQUIRE(mayStay(entry.tag, removals));
      if (entry.valueReadable) blank(rest, entry.valuePosition, entry.valuePosition + entry.valueSize);
      if (entry.tag != exif_tag::kMakerNote) continue;
      for (const ByteRange& range : makerNoteReferences(directories->block, entry, makeIn(*directories))) {
        blank(rest, range.begin, range.end);
      }
    }
  };
  blankIn(directories->first);
  for (const TiffDirectory& each : directories->exif) blankIn(each);
  for (const TiffDirectory& each : directories->gps) blankIn(each);
  for (const TiffDirectory& each : directories->interoperability) blankIn(each);
  return rest;
}

void removeFromBlock(const Bytes& block, const MetadataRemovals& removals) {
  const auto plain = exifBlockIn(block);
  const auto directories = plain ? readExifDirectories(*plain) : std::nullopt;
  if (!directories) return;
  const auto edited = editedExif(*directories, {removals, {}});
  if (edited) requireNothingIn(withoutValues(*edited, removals), removals);
}

/// Blanks the values of all properties, which must not be any that goes.
class ValueBlanker {
 public:
  explicit ValueBlanker(const MetadataRemovals& removals) : removals_(removals) {}

  void visit(pugi::xml_node element) {
    scope_.enter(element);
    FUZZ_REQUIRE(!isRemoved(scope_.nameOf(element), removals_));
    for (pugi::xml_attribute attribute : element.attributes()) {
      const XmlName name = scope_.nameOf(attribute);
      const bool declares = name.prefix == "xmlns" || std::string_view(attribute.name()) == "xmlns";
      FUZZ_REQUIRE(declares || !isRemoved(name, removals_));
      if (!declares) attribute.set_value("");
    }
    for (pugi::xml_node child : element.children()) {
      if (child.type() == pugi::node_element) visit(child);
      if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) child.set_value("");
    }
    scope_.leave(element);
  }

 private:
  const MetadataRemovals& removals_;
  NamespaceScope scope_;
};

struct TextWriter : pugi::xml_writer {
  void write(const void* data, std::size_t size) override {
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    text.insert(text.end(), bytes, bytes + size);
  }
  Bytes text;
};

void removeFromPacket(const Bytes& packet, const MetadataRemovals& removals) {
  FUZZ_REQUIRE(editedXmp(packet, {}).value_or(packet) == packet);
  const auto edited = editedXmp(packet, {removals, {}});
  if (!edited) return;
  pugi::xml_document document;
  const auto everything = pugi::parse_full | pugi::parse_ws_pcdata;
  FUZZ_REQUIRE(
      document.load_buffer(edited->data(), edited->size(), everything & ~pugi::parse_escapes, pugi::encoding_utf8));
  ValueBlanker blanker(removals);
  for (pugi::xml_node node : document.children()) {
    if (node.type() == pugi::node_element) blanker.visit(node);
  }
  TextWriter rest;
  document.save(rest, "", pugi::format_raw | pugi::format_no_escapes);
  requireNothingIn(rest.text, removals);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto blocks = test_support::plantedExifBlocks();
  static const auto packets = test_support::plantedPackets();
  Choices choices(data, std::min<std::size_t>(size, 256));
  const std::uint8_t flags = choices.next();
  const MetadataRemovals removals{
      .position = (flags & 1) != 0, .make = (flags & 2) != 0, .model = (flags & 4) != 0, .makerNote = (flags & 8) != 0};
  if (!removals.inside()) return 0;
  const bool isBlock = (flags & 16) != 0;
  const auto& seeds = isBlock ? blocks : packets;
  Bytes bytes = seeds[choices.below(seeds.size())].bytes;
  damage(bytes, choices);
  isBlock ? removeFromBlock(bytes, removals) : removeFromPacket(bytes, removals);
  return 0;
}
