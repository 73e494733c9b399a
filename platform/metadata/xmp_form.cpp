#include "platform/metadata/xmp_form.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "platform/metadata/text_decoding.h"
#include "platform/metadata/xmp_namespaces.h"

namespace quellor::metadata {

namespace {

/// Real packets stay below 30 levels; the walks over the tree recurse this deep at most.
constexpr int kMaximumDepth = 200;

/// Real packets stay below 1000; taking one from an element costs time for each that it has.
constexpr std::ptrdiff_t kMaximumAttributes = 4096;

// Everything is kept as it was written, so that writing it again changes nothing but what was edited.
constexpr unsigned kParsing = pugi::parse_pi | pugi::parse_comments | pugi::parse_cdata | pugi::parse_declaration |
                              pugi::parse_doctype | pugi::parse_ws_pcdata | pugi::parse_fragment;

bool isText(pugi::xml_node node) { return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata; }

bool isBlank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

/// Whether a document is an element with nothing beside it but what XML allows there, and within the limits.
struct DocumentCheck : pugi::xml_tree_walker {
  bool for_each(pugi::xml_node& node) override {
    const bool outside = depth() == 0;
    if (outside && node.type() == pugi::node_element) ++roots;
    const auto attributes = node.attributes();
    good = good && depth() <= kMaximumDepth && node.type() != pugi::node_doctype &&
           !(outside && isText(node) && !isBlank(node.value())) &&
           std::distance(attributes.begin(), attributes.end()) <= kMaximumAttributes;
    return good;
  }

  int roots = 0;
  bool good = true;
};

/// Follows the tree with the namespaces in force.
class StrictCheck {
 public:
  bool passes(const pugi::xml_document& document) {
    return std::all_of(document.begin(), document.end(), [this](pugi::xml_node node) {
      if (node.type() == pugi::node_declaration) return hasKnownEncoding(node);
      return node.type() != pugi::node_element || passes(node, Place::root);
    });
  }

 private:
  enum class Place : std::uint8_t { root, inMeta, inRdf, property };

  static bool hasKnownEncoding(pugi::xml_node declaration) {
    std::string encoding = declaration.attribute("encoding").value();
    std::transform(encoding.begin(), encoding.end(), encoding.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return encoding.empty() || encoding == "UTF-8" || encoding == "UTF-16" || encoding == "US-ASCII" ||
           encoding == "ISO-8859-1";
  }

  bool passes(pugi::xml_node element, Place place) {
    scope_.enter(element);
    const bool good = hasCleanNames(element) && hasItsContent(element, place);
    scope_.leave(element);
    return good;
  }

  bool hasItsContent(pugi::xml_node element, Place place) {
    const XmlName name = scope_.nameOf(element);
    const bool isRdf = name.local == "RDF" && name.uri == xmp_namespace::kRdf;
    const bool isMeta =
        (name.local == "xmpmeta" || name.local == "xapmeta") && isNamespace(name.uri, xmp_namespace::kMeta);
    const bool isDescription = name.local == "Description" && name.uri == xmp_namespace::kRdf;
    switch (place) {
      case Place::root:
        return isMeta ? hasOnlyElements(element, Place::inMeta) : isRdf && hasOnlyElements(element, Place::inRdf);
      case Place::inMeta:
        return isRdf && hasOnlyElements(element, Place::inRdf);
      case Place::inRdf:
        return isDescription && hasOnlyElements(element, Place::property);
      case Place::property:
        break;
    }
    return childrenPass(element, Place::property);
  }

  bool hasOnlyElements(pugi::xml_node element, Place place) {
    const bool hasText = std::any_of(element.begin(), element.end(),
                                     [](pugi::xml_node child) { return isText(child) && !isBlank(child.value()); });
    return !hasText && childrenPass(element, place);
  }

  bool childrenPass(pugi::xml_node element, Place place) {
    return std::all_of(element.begin(), element.end(), [&](pugi::xml_node child) {
      if (child.type() == pugi::node_element) return passes(child, place);
      return child.type() != pugi::node_cdata || !hasMarkup(child.value());
    });
  }

  static bool hasMarkup(std::string_view text) { return text.find('<') != std::string_view::npos; }

  /// Printable ASCII (RFC 3986, 2). An entity would have to be resolved before the URI could be compared; white space,
  /// a quotation mark or another script is no part of one, but of what a damaged document runs into it.
  static bool isPlainUri(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) {
      return c > ' ' && c < 0x7F && std::string_view("&<>\"'").find(c) == std::string_view::npos;
    });
  }

  bool hasCleanNames(pugi::xml_node element) {
    if (!scope_.nameOf(element).declared) return false;
    const auto attributes = element.attributes();
    return std::all_of(attributes.begin(), attributes.end(), [this](pugi::xml_attribute attribute) {
      const XmlName name = scope_.nameOf(attribute);
      const bool declaresNamespace = name.prefix == "xmlns" || std::string_view(attribute.name()) == "xmlns";
      return name.declared && !(declaresNamespace && !isPlainUri(attribute.value())) && !hasMarkup(attribute.value());
    });
  }

  NamespaceScope scope_;
};

/// Takes `name="value"` with whichever quotes off the front of `text`, white space before it included.
struct PseudoAttribute {
  std::string_view name;
  std::string_view value;
};
bool takePseudoAttribute(std::string_view& text, PseudoAttribute& taken) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos || equals + 1 == text.size()) return false;
  const char quote = text[equals + 1];
  const std::size_t end = text.find(quote, equals + 2);
  if ((quote != '"' && quote != '\'') || end == std::string_view::npos) return false;
  taken = {text.substr(0, equals), text.substr(equals + 2, end - equals - 2)};
  text.remove_prefix(end + 1);
  return true;
}

bool isUsual(const PseudoAttribute& attribute) {
  const std::string_view name = attribute.name;
  const std::string_view value = attribute.value;
  const auto consistsOf = [&](auto&& allowed) { return std::all_of(value.begin(), value.end(), allowed); };
  if (name == "id") return value == "W5M0MpCehiHzreSzNTczkc9d";
  if (name == "end") return value == "w" || value == "r";
  // A byte-order mark, sometimes encoded twice.
  if (name == "begin") {
    return value.size() <= 8 && consistsOf([](char c) { return static_cast<unsigned char>(c) > 0x7F; });
  }
  if (name == "bytes") return value.size() <= 10 && consistsOf([](char c) { return c >= '0' && c <= '9'; });
  return name == "encoding" && (value == "UTF-8" || value == "utf-8");
}

bool isUsualWrapper(pugi::xml_node instruction) {
  if (std::string_view(instruction.name()) != "xpacket") return false;
  std::string_view rest = instruction.value();
  for (PseudoAttribute attribute; takePseudoAttribute(rest, attribute);) {
    if (!isUsual(attribute)) return false;
  }
  return isBlank(rest);
}

/// Collects what removeCommentsAndInstructions() removes; a walk must not remove what it stands on.
struct CommentFinder : pugi::xml_tree_walker {
  bool for_each(pugi::xml_node& node) override {
    const bool isInstruction = node.type() == pugi::node_pi && !isUsualWrapper(node);
    if (node.type() == pugi::node_comment || isInstruction) found.push_back(node);
    return true;
  }

  std::vector<pugi::xml_node> found;
};

/// Encodings with more than one byte a character have a NUL among the first four (XML 1.0, appendix F).
bool isWide(ByteView packet) {
  const ByteView head = packet.first(std::min<std::size_t>(packet.size(), 4));
  const bool hasMark =
      head.size() >= 2 && ((head[0] == 0xFE && head[1] == 0xFF) || (head[0] == 0xFF && head[1] == 0xFE));
  return hasMark || std::find(head.begin(), head.end(), std::uint8_t{0}) != head.end();
}

ByteView withoutNulsBehind(ByteView packet) {
  const auto last = std::find_if(packet.rbegin(), packet.rend(), [](std::uint8_t byte) { return byte != 0; });
  return packet.first(static_cast<std::size_t>(packet.rend() - last));
}

/// As every XML document does, white space apart; the parser overlooks a lone "<" at the end.
bool endsWithTag(ByteView text) {
  const auto last = std::find_if(text.rbegin(), text.rend(), [](std::uint8_t byte) { return byte > ' '; });
  return last != text.rend() && *last == '>';
}

bool isUtf8(ByteView text) {
  const std::string decoded = decodeText(text);
  return std::equal(text.begin(), text.end(), decoded.begin(), decoded.end(),
                    [](std::uint8_t byte, char c) { return byte == static_cast<std::uint8_t>(c); });
}

}  // namespace

bool parsePacket(ByteView packet, PacketTree& tree) {
  if (packet.empty() || packet.size() > kMaximumPacketBytes) return false;
  const bool wide = isWide(packet);
  const ByteView text = wide ? packet : withoutNulsBehind(packet);
  const bool hasNul = std::find(text.begin(), text.end(), std::uint8_t{0}) != text.end();
  if (!wide && (hasNul || !endsWithTag(text))) return false;
  if (!tree.document.load_buffer(text.data(), text.size(), kParsing)) return false;
  tree.saysAllInUtf8 = !wide && text.size() == packet.size() && isUtf8(text);
  DocumentCheck check;
  tree.document.traverse(check);
  return check.good && check.roots == 1;
}

bool isStrictPacket(const pugi::xml_document& document) { return StrictCheck().passes(document); }

bool removeCommentsAndInstructions(pugi::xml_document& document) {
  CommentFinder finder;
  document.traverse(finder);
  for (pugi::xml_node node : finder.found) node.parent().remove_child(node);
  return !finder.found.empty();
}

}  // namespace quellor::metadata
