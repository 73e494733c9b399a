#include "platform/metadata/xmp_properties.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace quellor::metadata {

namespace {

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return lower;
}

bool contains(const std::string& text, std::string_view part) { return text.find(part) != std::string::npos; }

/// By the URI or, because readers go by it, by the customary prefix whatever it is declared as.
bool isIn(const XmlName& name, std::string_view uri, std::string_view customaryPrefix) {
  return isNamespace(name.uri, uri) || name.prefix == customaryPrefix;
}

struct Property {
  std::string_view uri;
  std::string_view local;
};

// Base64 of whole JPEG files, as photo editors and camera applications embed them.
constexpr Property kEmbeddedImages[] = {
    {"http://ns.adobe.com/xap/1.0/", "Thumbnails"},
    {"http://ns.adobe.com/xap/1.0/g/img/", "image"},
    {"http://ns.google.com/photos/1.0/image/", "Data"},
    {"http://ns.google.com/photos/1.0/depthmap/", "Data"},
};

}  // namespace

bool isPosition(const XmlName& name) {
  // The vocabularies of cameras, drones and collections have their own namespaces, but the words are the same in all.
  const std::string local = lowerCase(name.local);
  return local.starts_with("gps") || contains(local, "latitude") || contains(local, "longitude") ||
         contains(local, "altitude") || contains(local, "coordinate") ||
         isIn(name, xmp_namespace::kWgs84, "geo");  // its whole purpose: lat, long, alt, lat_long
}

bool isLocation(const XmlName& name) {
  return isIn(name, xmp_namespace::kIptcExtension, "Iptc4xmpExt") && name.local.starts_with("Location");
}

bool isEmbeddedImage(const XmlName& name) {
  return std::any_of(std::begin(kEmbeddedImages), std::end(kEmbeddedImages),
                     [&](const Property& each) { return name.local == each.local && isNamespace(name.uri, each.uri); });
}

PacketContents contentsOf(const XmlName& name) {
  const std::string local = lowerCase(name.local);
  const bool tiff = isIn(name, xmp_namespace::kTiff, "tiff");
  return {.position = isPosition(name),
          .make = tiff && local == "make",
          .model = tiff && local == "model",
          .makerNote = local.ends_with("makernote")};
}

bool isRemoved(const XmlName& name, const MetadataRemovals& removals) {
  const PacketContents contents = contentsOf(name);
  return (removals.position && contents.position) || (removals.make && contents.make) ||
         (removals.model && contents.model) || (removals.makerNote && contents.makerNote) ||
         (removals.inside() && isEmbeddedImage(name));
}

}  // namespace quellor::metadata
