#include "platform/metadata/xmp_packet.h"

#include <string_view>

#include <pugixml.hpp>

namespace quellor {
namespace {

std::string_view localName(std::string_view qualified) {
  const std::size_t colon = qualified.find(':');
  return colon == std::string_view::npos ? qualified : qualified.substr(colon + 1);
}

/// Stops at the first property of a local name that has text.
struct TextFinder : pugi::xml_tree_walker {
  bool for_each(pugi::xml_node& node) override {
    if (localName(node.name()) == wanted) value = node.text().get();
    for (const pugi::xml_attribute attribute : node.attributes()) {
      if (localName(attribute.name()) == wanted) value = attribute.value();
    }
    return value.empty();
  }

  std::string_view wanted;
  std::string value;
};

}  // namespace

std::string xmpTextOf(ByteView packet, const std::string& localName) {
  pugi::xml_document document;
  if (!document.load_buffer(packet.data(), packet.size())) return {};
  TextFinder finder;
  finder.wanted = localName;
  document.traverse(finder);
  return finder.value;
}

}  // namespace quellor
