#include "platform/metadata/packet_twins.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace quellor {
namespace {

using namespace property_key;

/// Whether the packet holds what the edit would remove.
bool holds(ByteView packet, const XmpEngine& engine, const XmpEdit& edit) {
  const auto edited = engine.edited(packet, edit);
  return edited && !std::ranges::equal(*edited, packet);
}

bool hasNested(const PropertyDictionary& properties, std::string_view dictionary, std::string_view key) {
  const PropertyValue* const value = properties.find(dictionary);
  const auto* const nested = value == nullptr ? nullptr : value->as<PropertyDictionary>();
  return nested != nullptr && nested->contains(key);
}

void setNested(PropertyDictionary& properties, std::string_view dictionary, std::string_view key, std::string text) {
  if (!properties.contains(dictionary)) properties.set(dictionary, PropertyDictionary{});
  if (auto* const nested = properties.find(dictionary)->as<PropertyDictionary>()) nested->set(key, std::move(text));
}

}  // namespace

void addPacketTwins(ByteView packet, const XmpEngine& engine, PropertyDictionary& properties) {
  XmpEdit gps, make, model, note;
  gps.removeGps = true;
  make.removeMake = true;
  model.removeModel = true;
  note.removeMakerNote = true;
  if (!properties.contains(kGps) && holds(packet, engine, gps)) properties.set(kGps, PropertyDictionary{});
  const auto addText = [&](std::string_view dictionary, std::string_view key, const XmpEdit& edit) {
    if (hasNested(properties, dictionary, key) || !holds(packet, engine, edit)) return;
    setNested(properties, dictionary, key, engine.textOf(packet, std::string(key)));
  };
  addText(kTiff, kTiffMake, make);
  addText(kTiff, kTiffModel, model);
  addText(kExif, kExifMakerNote, note);
}

}  // namespace quellor
