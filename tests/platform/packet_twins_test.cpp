#include "platform/metadata/packet_twins.h"

#include <string>

#include <gtest/gtest.h>

#include "platform/metadata/block_editing.h"
#include "platform/module.h"

namespace quellor {
namespace {

const XmpEngine& engine() { return *ModuleLoader(QUELLOR_MODULES).open<XmpEngine>("xmp", kXmpEngineEntry); }

Bytes packetWith(const std::string& attributes) {
  const std::string text =
      "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
      "<rdf:Description xmlns:exif='http://ns.adobe.com/exif/1.0/' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' "
      "xmlns:dc='http://purl.org/dc/elements/1.1/' " +
      attributes + "/></rdf:RDF></x:xmpmeta>";
  return {text.begin(), text.end()};
}

PropertyDictionary propertiesOf(const Bytes& packet) {
  PropertyDictionary properties;
  properties.set(property_key::kXmp, packet);
  addPacketTwins(packet, engine(), properties);
  MetadataBlocks blocks;
  blocks.xmp = packet;
  properties.rememberBlocks(std::make_shared<const MetadataBlocks>(blocks));
  return properties;
}

TEST(PacketTwins, ReportAPositionThatOnlyThePacketHas) {
  EXPECT_TRUE(propertiesOf(packetWith("exif:GPSLatitude='47,22N'")).contains("{GPS}"));
  EXPECT_FALSE(propertiesOf(packetWith("dc:format='image/png'")).contains("{GPS}"));
}

TEST(PacketTwins, ReportMakeAndModelThatOnlyThePacketHas) {
  const PropertyDictionary properties = propertiesOf(packetWith("tiff:Make='Acme' tiff:Model='One'"));
  const auto* const tiff = properties.find("{TIFF}")->as<PropertyDictionary>();
  ASSERT_NE(tiff, nullptr);
  EXPECT_EQ(*tiff->find("Make"), PropertyValue("Acme"));
  EXPECT_EQ(*tiff->find("Model"), PropertyValue("One"));
}

TEST(PacketTwins, LetAPacketKeepWhatNobodyRemoved) {
  const Bytes packet = packetWith("exif:GPSLatitude='47,22N' tiff:Make='Acme' exif:MakerNote='n' dc:format='f'");
  EXPECT_EQ(editedBlocks(propertiesOf(packet), &engine()).xmp, packet);
}

TEST(PacketTwins, LetARemovalReachThePacket) {
  PropertyDictionary properties = propertiesOf(packetWith("exif:GPSLatitude='47,22N' tiff:Make='Acme'"));
  properties.remove("{GPS}");
  const auto blocks = editedBlocks(properties, &engine());
  ASSERT_TRUE(blocks.xmp);
  const std::string text(blocks.xmp->begin(), blocks.xmp->end());
  EXPECT_EQ(text.find("47,22N"), std::string::npos);
  EXPECT_NE(text.find("Acme"), std::string::npos);
}

}  // namespace
}  // namespace quellor
