#pragma once
#include <string_view>
#include <unordered_map>
#include <vector>

#include <pugixml.hpp>

/// Namespaces in XML 1.0 for documents of a parser that knows only qualified names.
namespace quellor::metadata {

/// URIs of namespaces (ISO 16684-1, 8; ISO 16684-2; CIPA DC-010).
namespace xmp_namespace {
inline constexpr std::string_view kRdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
inline constexpr std::string_view kTiff = "http://ns.adobe.com/tiff/1.0/";
inline constexpr std::string_view kExif = "http://ns.adobe.com/exif/1.0/";
inline constexpr std::string_view kExifEx = "http://cipa.jp/exif/1.0/";
inline constexpr std::string_view kMeta = "adobe:ns:meta/";
inline constexpr std::string_view kWgs84 = "http://www.w3.org/2003/01/geo/wgs84_pos#";
inline constexpr std::string_view kIptcExtension = "http://iptc.org/std/Iptc4xmpExt/2008-02-29/";
}  // namespace xmp_namespace

/// Whether two URIs name the same namespace: writers forget the slash at the end.
bool isNamespace(std::string_view uri, std::string_view expected);

struct XmlName {
  std::string_view uri;  // empty: in no namespace
  std::string_view local;
  std::string_view prefix;
  bool declared = true;  // false: the prefix means nothing here, and `uri` is what readers take it for
};

/// The declarations in force at one place of a document. It follows a walk from the root downwards; the names that it
/// hands out are valid as long as the document's nodes.
class NamespaceScope {
 public:
  void enter(pugi::xml_node element);
  void leave(pugi::xml_node element);

  [[nodiscard]] XmlName nameOf(pugi::xml_node element) const;
  [[nodiscard]] XmlName nameOf(pugi::xml_attribute attribute) const;

 private:
  [[nodiscard]] XmlName nameIn(std::string_view prefix, std::string_view local) const;

  std::unordered_map<std::string_view, std::vector<std::string_view>> uris_;  // of each prefix, innermost last
};

}  // namespace quellor::metadata
