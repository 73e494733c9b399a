#include "platform/metadata/xmp_editor.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "platform/metadata/text_decoding.h"
#include "platform/metadata/xmp_namespaces.h"

namespace quellor {
namespace {

using namespace metadata;

/// Real packets stay below 30 levels; the walk over the tree recurses this deep at most.
constexpr int kMaximumDepth = 200;

/// Real packets stay below 1000; taking one from an element costs time for each that it has.
constexpr std::ptrdiff_t kMaximumAttributes = 4096;

// Everything is kept as it was written, so that writing it again changes nothing but what was edited.
constexpr unsigned kParsing = pugi::parse_pi | pugi::parse_comments | pugi::parse_cdata | pugi::parse_declaration |
                              pugi::parse_doctype | pugi::parse_ws_pcdata | pugi::parse_fragment;
constexpr unsigned kWriting = pugi::format_raw | pugi::format_no_escapes | pugi::format_no_declaration;

/// Names that begin with `name`, without regard to case, in one namespace.
struct PositionProperties {
  std::string_view uri;
  std::string_view name;
};

constexpr PositionProperties kPositionProperties[] = {
    {xmp_namespace::kExif, "gps"},
    {xmp_namespace::kExifEx, "gps"},
    {"http://www.dji.com/drone-dji/1.0/", "gps"},
    {"http://pix4d.com/camera/1.0/", "gps"},
    {"http://www.w3.org/2003/01/geo/wgs84_pos#", ""},  // its whole purpose: lat, long, alt, lat_long
};

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool beginsWithIgnoringCase(std::string_view text, std::string_view lowerPrefix) {
  return text.size() >= lowerPrefix.size() && std::equal(lowerPrefix.begin(), lowerPrefix.end(), text.begin(),
                                                         [](char prefix, char c) { return prefix == lower(c); });
}

bool isPosition(const XmlName& name) {
  return std::any_of(std::begin(kPositionProperties), std::end(kPositionProperties), [&](const auto& each) {
    return isNamespace(name.uri, each.uri) && beginsWithIgnoringCase(name.local, each.name);
  });
}

/// LocationCreated and LocationShown (IPTC Photo Metadata 2019.1).
bool isLocation(const XmlName& name) {
  return isNamespace(name.uri, xmp_namespace::kIptcExtension) && name.local.starts_with("Location");
}

bool is(const XmlName& name, std::string_view uri, std::string_view local) {
  return name.local == local && isNamespace(name.uri, uri);
}

bool isWhiteSpace(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata &&
         std::string_view(node.value()).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

class PacketEditor {
 public:
  explicit PacketEditor(const XmpEdit& edit) : edit_(edit) {}

  [[nodiscard]] bool changed() const { return changed_; }

  void editChildren(pugi::xml_node parent, bool ofDescription = false) {
    for (pugi::xml_node child = parent.first_child(); child;) {
      const pugi::xml_node next = child.next_sibling();
      if (child.type() == pugi::node_element) editElement(parent, child, ofDescription);
      child = next;
    }
  }

 private:
  /// `isProperty`: the element stands in one of the packet's outermost descriptions.
  void editElement(pugi::xml_node parent, pugi::xml_node element, bool isProperty) {
    scope_.enter(element);
    const XmlName name = scope_.nameOf(element);
    const std::size_t positionsBefore = positionsRemoved_;
    bool goes = toBeRemoved(name);
    if (!goes) {
      const bool isDescription =
          is(name, xmp_namespace::kRdf, "Description") && is(scope_.nameOf(parent), xmp_namespace::kRdf, "RDF");
      editAttributes(element, isDescription);
      editChildren(element, isDescription);
      if (isProperty && is(name, xmp_namespace::kTiff, "Orientation")) setOrientation(element);
      goes = isLocation(name) && positionsRemoved_ != positionsBefore;
    }
    scope_.leave(element);
    if (goes) remove(parent, element);
  }

  void editAttributes(pugi::xml_node element, bool ofDescription) {
    for (pugi::xml_attribute attribute = element.first_attribute(); attribute;) {
      const pugi::xml_attribute next = attribute.next_attribute();
      const XmlName name = scope_.nameOf(attribute);
      if (toBeRemoved(name)) {
        element.remove_attribute(attribute);
        changed_ = true;
      } else if (ofDescription && is(name, xmp_namespace::kTiff, "Orientation")) {
        setOrientation(attribute);
      }
      attribute = next;
    }
  }

  bool toBeRemoved(const XmlName& name) {
    if (edit_.removeGps && isPosition(name)) {
      ++positionsRemoved_;
      return true;
    }
    return (edit_.removeMake && is(name, xmp_namespace::kTiff, "Make")) ||
           (edit_.removeModel && is(name, xmp_namespace::kTiff, "Model")) ||
           (edit_.removeMakerNote && is(name, xmp_namespace::kExif, "MakerNote"));
  }

  /// The indentation before the element goes with it.
  void remove(pugi::xml_node parent, pugi::xml_node element) {
    const pugi::xml_node before = element.previous_sibling();
    if (before && isWhiteSpace(before)) parent.remove_child(before);
    parent.remove_child(element);
    changed_ = true;
  }

  void setOrientation(pugi::xml_attribute attribute) {
    if (!edit_.orientation || trimmed(attribute.value()) == std::to_string(*edit_.orientation)) return;
    attribute.set_value(*edit_.orientation);
    changed_ = true;
  }

  void setOrientation(pugi::xml_node element) {
    if (!edit_.orientation || trimmed(element.text().get()) == std::to_string(*edit_.orientation)) return;
    element.remove_children();
    element.append_child(pugi::node_pcdata).set_value(std::to_string(*edit_.orientation).c_str());
    changed_ = true;
  }

  const XmpEdit& edit_;
  NamespaceScope scope_;
  std::size_t positionsRemoved_ = 0;
  bool changed_ = false;
};

/// Whether a document is an element with nothing beside it but what XML allows there, and within the limits.
struct FormCheck : pugi::xml_tree_walker {
  bool for_each(pugi::xml_node& node) override {
    const bool outside = depth() == 0;
    if (outside && node.type() == pugi::node_element) ++roots;
    const bool isText = node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
    const auto attributes = node.attributes();
    good = good && depth() <= kMaximumDepth && node.type() != pugi::node_doctype &&
           !(outside && isText && !isWhiteSpace(node)) &&
           std::distance(attributes.begin(), attributes.end()) <= kMaximumAttributes;
    return good;
  }

  int roots = 0;
  bool good = true;
};

bool hasUsableForm(pugi::xml_document& document) {
  FormCheck check;
  document.traverse(check);
  return check.good && check.roots == 1;
}

/// Makes values fit for the double quotes that they are written in.
struct QuoteEscaper : pugi::xml_tree_walker {
  bool for_each(pugi::xml_node& node) override {
    for (pugi::xml_attribute attribute : node.attributes()) {
      std::string value = attribute.value();
      if (value.find('"') == std::string::npos) continue;
      for (std::size_t at = 0; (at = value.find('"', at)) != std::string::npos;) value.replace(at, 1, "&quot;");
      attribute.set_value(value.c_str());
    }
    return true;
  }
};

/// Collects the text that pugixml writes.
struct TextWriter : pugi::xml_writer {
  void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
  std::string text;
};

Bytes written(pugi::xml_document& document) {
  for (pugi::xml_node node : document.children()) {
    const bool isDeclaration = node.type() == pugi::node_declaration;
    if (isDeclaration && node.attribute("encoding")) node.attribute("encoding").set_value("UTF-8");
  }
  QuoteEscaper escaper;
  document.traverse(escaper);
  TextWriter writer;
  document.save(writer, "", kWriting, pugi::encoding_utf8);
  const std::string utf8 =
      decodeText(ByteView(reinterpret_cast<const std::uint8_t*>(writer.text.data()), writer.text.size()));
  return Bytes(utf8.begin(), utf8.end());
}

}  // namespace

std::optional<Bytes> editedXmp(ByteView packet, const XmpEdit& edit) {
  pugi::xml_document document;
  if (!document.load_buffer(packet.data(), packet.size(), kParsing) || !hasUsableForm(document)) return std::nullopt;
  PacketEditor editor(edit);
  editor.editChildren(document.root());
  return editor.changed() ? written(document) : Bytes(packet.begin(), packet.end());
}

}  // namespace quellor
