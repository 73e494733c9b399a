#include "platform/metadata/xmp_editor.h"

#include <algorithm>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "platform/metadata/text_decoding.h"
#include "platform/metadata/xmp_form.h"
#include "platform/metadata/xmp_namespaces.h"
#include "platform/metadata/xmp_properties.h"

namespace quellor {
namespace {

using namespace metadata;

constexpr unsigned kWriting = pugi::format_raw | pugi::format_no_escapes | pugi::format_no_declaration;

bool isWhiteSpace(pugi::xml_node node) {
  return node.type() == pugi::node_pcdata &&
         std::string_view(node.value()).find_first_not_of(" \t\r\n") == std::string_view::npos;
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1);
}

/// Collects what the properties of a packet are.
class ContentsFinder {
 public:
  void visit(pugi::xml_node element) {
    scope_.enter(element);
    add(scope_.nameOf(element));
    for (const pugi::xml_attribute attribute : element.attributes()) add(scope_.nameOf(attribute));
    for (const pugi::xml_node child : element.children()) {
      if (child.type() == pugi::node_element) visit(child);
    }
    scope_.leave(element);
  }

  [[nodiscard]] const PacketContents& found() const { return found_; }

 private:
  void add(const XmlName& name) {
    const PacketContents contents = contentsOf(name);
    found_.position = found_.position || contents.position;
    found_.make = found_.make || contents.make;
    found_.model = found_.model || contents.model;
    found_.makerNote = found_.makerNote || contents.makerNote;
  }

  NamespaceScope scope_;
  PacketContents found_;
};

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
      const bool isDescription = isRdf(name, "Description") && isRdf(scope_.nameOf(parent), "RDF");
      editAttributes(element, isDescription);
      editChildren(element, isDescription);
      if (isProperty && isOrientation(name)) setOrientation(element);
      goes = isLocation(name) && positionsRemoved_ != positionsBefore;
    }
    scope_.leave(element);
    if (goes) remove(parent, element);
  }

  static bool isRdf(const XmlName& name, std::string_view local) {
    return name.local == local && isNamespace(name.uri, xmp_namespace::kRdf);
  }

  static bool isOrientation(const XmlName& name) {
    return name.local == "Orientation" && isNamespace(name.uri, xmp_namespace::kTiff);
  }

  void editAttributes(pugi::xml_node element, bool ofDescription) {
    for (pugi::xml_attribute attribute = element.first_attribute(); attribute;) {
      const pugi::xml_attribute next = attribute.next_attribute();
      const XmlName name = scope_.nameOf(attribute);
      if (toBeRemoved(name)) {
        element.remove_attribute(attribute);
        changed_ = true;
      } else if (ofDescription && isOrientation(name)) {
        setOrientation(attribute);
      }
      attribute = next;
    }
  }

  bool toBeRemoved(const XmlName& name) {
    if (name.prefix == "xmlns") return false;  // a declaration, whatever the prefix that it declares
    if (edit_.removals.position && isPosition(name)) ++positionsRemoved_;
    return isRemoved(name, edit_.removals);
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

/// Makes values fit for the double quotes that they are written in.
struct QuoteEscaper : pugi::xml_tree_walker {
  bool for_each(pugi::xml_node& node) override {
    for (pugi::xml_attribute attribute : node.attributes()) {
      const std::string_view value = attribute.value();
      if (value.find('"') == std::string_view::npos) continue;
      std::string escaped;
      for (const char c : value) c == '"' ? escaped += "&quot;" : escaped += c;
      attribute.set_value(escaped.c_str());
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

/// Whether the name of a coordinate is left in a text where no property should have it.
bool namesCoordinate(const Bytes& packet) {
  std::string text(packet.begin(), packet.end());
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return text.find("gpslatitude") != std::string::npos || text.find("gpslongitude") != std::string::npos;
}

}  // namespace

PacketContents contentsOfXmp(ByteView packet) {
  PacketTree tree;
  if (!parsePacket(packet, tree)) return {};
  ContentsFinder finder;
  for (const pugi::xml_node node : tree.document.children()) {
    if (node.type() == pugi::node_element) finder.visit(node);
  }
  return finder.found();
}

std::optional<Bytes> editedXmp(ByteView packet, const XmpEdit& edit) {
  PacketTree tree;
  if (!parsePacket(packet, tree)) return std::nullopt;
  const bool removes = edit.removals.inside();
  if (removes && !isStrictPacket(tree.document)) return std::nullopt;

  PacketEditor editor(edit);
  // A node is a handle, and the document is the handle of its root.  NOLINTNEXTLINE(cppcoreguidelines-slicing)
  editor.editChildren(tree.document);
  const bool lostComments = removes && removeCommentsAndInstructions(tree.document);
  const bool mustBeWritten = editor.changed() || lostComments || (removes && !tree.saysAllInUtf8);
  Bytes edited = mustBeWritten ? written(tree.document) : Bytes(packet.begin(), packet.end());
  if (edit.removals.position && namesCoordinate(edited)) return std::nullopt;
  return edited;
}

}  // namespace quellor
