#include "platform/metadata/xmp_namespaces.h"

#include <optional>
#include <utility>

namespace quellor::metadata {

namespace {

constexpr std::string_view kDeclaration = "xmlns";

/// The prefix that an attribute declares, empty for the default namespace; absent when it is no declaration.
std::optional<std::string_view> declaredPrefix(pugi::xml_attribute attribute) {
  std::string_view name = attribute.name();
  if (!name.starts_with(kDeclaration)) return std::nullopt;
  name.remove_prefix(kDeclaration.size());
  if (name.empty()) return name;
  return name.front() == ':' ? std::optional(name.substr(1)) : std::nullopt;
}

std::pair<std::string_view, std::string_view> prefixAndLocalName(std::string_view qualified) {
  const std::size_t colon = qualified.find(':');
  if (colon == std::string_view::npos) return {{}, qualified};
  return {qualified.substr(0, colon), qualified.substr(colon + 1)};
}

/// What readers take a prefix for that a packet, against the rules, does not declare.
std::string_view customaryNamespace(std::string_view prefix) {
  if (prefix == "exif") return xmp_namespace::kExif;
  if (prefix == "exifEX") return xmp_namespace::kExifEx;
  if (prefix == "tiff") return xmp_namespace::kTiff;
  if (prefix == "rdf") return xmp_namespace::kRdf;
  return {};
}

}  // namespace

bool isNamespace(std::string_view uri, std::string_view expected) {
  if (uri == expected) return true;
  return expected.ends_with('/') && uri == expected.substr(0, expected.size() - 1);
}

void NamespaceScope::enter(pugi::xml_node element) {
  for (const pugi::xml_attribute attribute : element.attributes()) {
    if (const auto prefix = declaredPrefix(attribute)) uris_[*prefix].emplace_back(attribute.value());
  }
}

void NamespaceScope::leave(pugi::xml_node element) {
  for (const pugi::xml_attribute attribute : element.attributes()) {
    if (const auto prefix = declaredPrefix(attribute)) uris_[*prefix].pop_back();
  }
}

XmlName NamespaceScope::nameOf(pugi::xml_node element) const {
  const auto [prefix, local] = prefixAndLocalName(element.name());
  return nameIn(prefix, local);
}

XmlName NamespaceScope::nameOf(pugi::xml_attribute attribute) const {
  const auto [prefix, local] = prefixAndLocalName(attribute.name());
  // The default namespace is not for attributes (Namespaces in XML 1.0, 6.2).
  return prefix.empty() ? XmlName{{}, local, {}} : nameIn(prefix, local);
}

XmlName NamespaceScope::nameIn(std::string_view prefix, std::string_view local) const {
  const auto found = uris_.find(prefix);
  if (found != uris_.end() && !found->second.empty()) return {found->second.back(), local, prefix};
  const bool needsNone = prefix.empty() || prefix == "xml" || prefix == kDeclaration;
  return {customaryNamespace(prefix), local, prefix, needsNone};
}

}  // namespace quellor::metadata
