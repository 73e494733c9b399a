// Properties: what a container says lies inside the file, exists, and does not depend on when it is asked.

#include "platform/heif/container_reader.h"
#include "platform/heif/heif_facts.h"
#include "platform/heif/item_data.h"
#include "platform/heif/item_relations.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

using namespace quellor;

bool inside(ByteView part, ByteView whole) {
  return part.empty() || (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView file(data, size);
  const auto container = heif::readContainer(file);
  const auto facts = heif::factsOf(file);
  FUZZ_REQUIRE(container.has_value() == facts.has_value());
  if (!container) return 0;

  FUZZ_REQUIRE(container->find(container->primaryItem) != nullptr);
  for (const heif::Property& property : container->properties) FUZZ_REQUIRE(inside(property.payload, file));
  for (const heif::Item& item : container->items) {
    for (const auto& association : item.properties) {
      FUZZ_REQUIRE(association.index < container->properties.size());
      FUZZ_REQUIRE(association.fileOffset + association.fileSize <= size);
    }
    const auto pieces = heif::itemPieces(*container, item);
    if (!pieces) continue;
    for (const ByteView piece : *pieces) FUZZ_REQUIRE(inside(piece, file));
  }
  const auto images = heif::topLevelImages(*container);
  FUZZ_REQUIRE(!images.empty() && images.front()->id == container->primaryItem);
  FUZZ_REQUIRE(images.size() == facts->imageCount);
  FUZZ_REQUIRE(!facts->orientation || (*facts->orientation >= 1 && *facts->orientation <= 8));
  return 0;
}
