#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/metadata/xmp_editor.h"
#include "platform/module.h"
#include "tests/support/byte_texts.h"

namespace quellor {
namespace {

using test_support::bytesOf;
using testing::HasSubstr;
using testing::Not;

constexpr XmpEdit kNoGps{.removeGps = true, .orientation = {}};
constexpr XmpEdit kNoMaker{.removeMake = true, .removeModel = true, .removeMakerNote = true, .orientation = {}};

/// A packet with these attributes and this content in its one description.
std::string packet(const std::string& attributes, const std::string& content) {
  return "<?xpacket begin=\"\xEF\xBB\xBF\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
         "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
         "<rdf:Description rdf:about='' xmlns:exif='http://ns.adobe.com/exif/1.0/' "
         "xmlns:exifEX='http://cipa.jp/exif/1.0/' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' "
         "xmlns:dc='http://purl.org/dc/elements/1.1/' " +
         attributes + ">" + content + "</rdf:Description></rdf:RDF></x:xmpmeta>\n      \n<?xpacket end=\"w\"?>";
}

/// The packet after the edit, as text; "absent" when there is none.
std::string edited(std::string_view text, const XmpEdit& edit) {
  const auto result = editedXmp(bytesOf(text), edit);
  return result ? std::string(result->begin(), result->end()) : "absent";
}

TEST(XmpEditing, KeepsTheBytesOfAPacketThatNeedsNoChange) {
  const std::string plain = packet("tiff:Orientation='6' exif:FNumber='28/10'", "<dc:title>A &#38; B</dc:title>\r\n");
  EXPECT_EQ(edited(plain, {}), plain);
  EXPECT_EQ(edited(plain, {true, true, true, true, 6}), plain);
  const std::string withByteOrderMark = "\xEF\xBB\xBF" + plain;
  EXPECT_EQ(edited(withByteOrderMark, kNoGps), withByteOrderMark);
}

TEST(XmpEditing, RemovesProperties) {
  const struct {
    const char* what;
    std::string attributes, content;
    XmpEdit edit;
  } cases[] = {
      {"attribute", "exif:GPSLatitude='52,31.2N'", "", kNoGps},
      {"element", "", "<exif:GPSLatitude>52,31.2N</exif:GPSLatitude>", kNoGps},
      {"newer Exif namespace", "exifEX:GPSHPositioningError='52,31.2N'", "", kNoGps},
      {"structure", "", "<exif:GPSx rdf:parseType='Resource'><dc:a>52,31.2N</dc:a></exif:GPSx>", kNoGps},
      {"other prefix", "xmlns:e='http://ns.adobe.com/exif/1.0/' e:GPSLatitude='52,31.2N'", "", kNoGps},
      {"declared on the element", "", "<e:GPSLatitude xmlns:e='http://ns.adobe.com/exif/1.0/'>52,31.2N</e:GPSLatitude>",
       kNoGps},
      {"default namespace", "", "<GPSLatitude xmlns='http://ns.adobe.com/exif/1.0/'>52,31.2N</GPSLatitude>", kNoGps},
      {"URI without its last slash", "",
       "<e:GPSLatitude xmlns:e='http://ns.adobe.com/exif/1.0'>52,31.2N</e:GPSLatitude>", kNoGps},
      {"deep inside another property", "",
       "<dc:source><rdf:Bag><rdf:li exif:GPSLatitude='52,31.2N'/></rdf:Bag></dc:source>", kNoGps},
      {"drone vocabulary", "xmlns:d='http://www.dji.com/drone-dji/1.0/' d:GpsLatitude='52,31.2N'", "", kNoGps},
      {"W3C vocabulary", "", "<g:lat xmlns:g='http://www.w3.org/2003/01/geo/wgs84_pos#'>52,31.2N</g:lat>", kNoGps},
      {"location", "xmlns:l='http://iptc.org/std/Iptc4xmpExt/2008-02-29/'",
       "<l:LocationCreated><rdf:Bag><rdf:li rdf:parseType='Resource'><exif:GPSLatitude>1</exif:GPSLatitude>"
       "<l:Sublocation>52,31.2N</l:Sublocation></rdf:li></rdf:Bag></l:LocationCreated>",
       kNoGps},
      {"location with attributes", "xmlns:l='http://iptc.org/std/Iptc4xmpExt/2008-02-29/'",
       "<l:LocationShown exif:GPSLatitude='1' l:Sublocation='52,31.2N'/>", kNoGps},
      {"Make", "tiff:Make='52,31.2N'", "<tiff:Make>52,31.2N</tiff:Make>", kNoMaker},
      {"Model", "tiff:Model='52,31.2N'", "<tiff:Model>52,31.2N</tiff:Model>", kNoMaker},
      {"MakerNote", "exif:MakerNote='52,31.2N'", "<exif:MakerNote>52,31.2N</exif:MakerNote>", kNoMaker},
  };
  for (const auto& c : cases) {
    const std::string before = packet(c.attributes, c.content + "<dc:title>kept</dc:title>");
    ASSERT_THAT(before, HasSubstr("52,31.2N")) << c.what;
    const std::string after = edited(before, c.edit);
    EXPECT_THAT(after, Not(HasSubstr("52,31.2N"))) << c.what;
    EXPECT_THAT(after, HasSubstr("<dc:title>kept</dc:title>")) << c.what;
    EXPECT_EQ(edited(before, {}), before) << c.what;
  }
}

TEST(XmpEditing, RemovesWhatAPrefixWithoutADeclarationIsTakenFor) {
  EXPECT_EQ(edited("<a><exif:GPSLatitude>1</exif:GPSLatitude></a>", kNoGps), "<a/>");
  EXPECT_EQ(edited("<a tiff:Make='1'/>", kNoMaker), "<a/>");
}

TEST(XmpEditing, KeepsWhatOnlyLooksLikeIt) {
  const std::string cases[] = {
      packet("xmlns:n='urn:other' n:GPSLatitude='1'", ""),
      packet("", "<exif:GPSLatitude xmlns:exif='urn:other'>1</exif:GPSLatitude>"),
      packet("GPSLatitude='1'", "<GPSLatitude>1</GPSLatitude>"),
      packet("exif:Make='1' tiff:MakerNote='1' tiff:Makes='1'", "<dc:Model>1</dc:Model>"),
      packet("", "<!-- exif:GPSLatitude='1' -->"),
      packet("xmlns:l='http://iptc.org/std/Iptc4xmpExt/2008-02-29/'",
             "<l:LocationCreated><rdf:Bag><rdf:li l:City='Berlin'/></rdf:Bag></l:LocationCreated>"),
  };
  for (const std::string& each : cases) EXPECT_EQ(edited(each, {true, true, true, true, {}}), each);
}

TEST(XmpEditing, RemovesOnlyTheMakerPropertiesAskedFor) {
  const std::string before = packet("tiff:Make='A' tiff:Model='B' exif:MakerNote='C'", "");
  EXPECT_EQ(edited(before, {.removeModel = true, .orientation = {}}).find("tiff:Model"), std::string::npos);
  EXPECT_THAT(edited(before, {.removeModel = true, .orientation = {}}), HasSubstr("tiff:Make=\"A\""));
  EXPECT_THAT(edited(before, {.removeModel = true, .orientation = {}}), HasSubstr("exif:MakerNote=\"C\""));
}

TEST(XmpEditing, WritesEverythingElseAsItWas) {
  const std::string before =
      "<?xpacket begin='' id='x'?>\r\n<a:b xmlns:a='urn:a' xmlns:exif='http://ns.adobe.com/exif/1.0/' "
      "a:q='&lt;&#x9;&quot;&apos;&#10;\xC3\xBC' a:r='say \"hi\"'>\r\n <!-- note -->\n  <exif:GPSDOP>7</exif:GPSDOP>\n"
      "  <a:c>x &amp; y &#13; <![CDATA[<z>]]></a:c>\n</a:b>\n   \n<?xpacket end='w'?>\n";
  EXPECT_EQ(edited(before, kNoGps),
            "<?xpacket begin='' id='x'?>\r\n<a:b xmlns:a=\"urn:a\" xmlns:exif=\"http://ns.adobe.com/exif/1.0/\" "
            "a:q=\"&lt;&#x9;&quot;&apos;&#10;\xC3\xBC\" a:r=\"say &quot;hi&quot;\">\r\n <!-- note -->\n"
            "  <a:c>x &amp; y &#13; <![CDATA[<z>]]></a:c>\n</a:b>\n   \n<?xpacket end='w'?>\n");
}

TEST(XmpEditing, MakesTheOrientationAgree) {
  const XmpEdit turn{.orientation = 8};
  EXPECT_THAT(edited(packet("tiff:Orientation='6'", ""), turn), HasSubstr("tiff:Orientation=\"8\""));
  EXPECT_THAT(edited(packet("", "<tiff:Orientation> 6 </tiff:Orientation>"), turn),
              HasSubstr("<tiff:Orientation>8</tiff:Orientation>"));
  EXPECT_THAT(edited(packet("", "<t:Orientation xmlns:t='http://ns.adobe.com/tiff/1.0/'/>"), turn),
              HasSubstr(">8</t:Orientation>"));
  const std::string agreeing = packet("", "<tiff:Orientation> 8 </tiff:Orientation>");
  EXPECT_EQ(edited(agreeing, turn), agreeing);
  const std::string none = packet("exif:Orientation='6'", "");
  EXPECT_EQ(edited(none, turn), none);
  const std::string ofAnotherImage = packet("", "<dc:source><rdf:Description tiff:Orientation='6'/></dc:source>");
  EXPECT_EQ(edited(ofAnotherImage, turn), ofAnotherImage);
}

TEST(XmpEditing, TurnsUtf16IntoUtf8OnlyWhenItChangesSomething) {
  const std::u16string text =
      u"\uFEFF<?xml version='1.0' encoding='UTF-16'?><a xmlns:exif='http://ns.adobe.com/exif/1.0/' "
      u"exif:GPSDOP='7'>\u00FC</a>";
  for (const bool bigEndian : {false, true}) {
    Bytes utf16;
    for (const char16_t unit : text) {
      const auto high = static_cast<std::uint8_t>(unit >> 8);
      const auto low = static_cast<std::uint8_t>(unit & 0xFF);
      utf16.insert(utf16.end(), {bigEndian ? high : low, bigEndian ? low : high});
    }
    EXPECT_EQ(editedXmp(utf16, kNoMaker), utf16);
    EXPECT_EQ(editedXmp(utf16, kNoGps), bytesOf("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"
                                                "<a xmlns:exif=\"http://ns.adobe.com/exif/1.0/\">\xC3\xBC</a>"));
  }
}

TEST(XmpEditing, WritesValidUtf8) { EXPECT_EQ(edited("<a exif:GPSDOP='7'>caf\xE9</a>", kNoGps), "<a>caf\xC3\xA9</a>"); }

TEST(XmpEditing, EditsAPacketWithZerosBehindIt) {
  const std::string padded("<a exif:GPSDOP='7'/>\0\0\0", 23);
  EXPECT_EQ(edited(padded, kNoMaker), padded);
  EXPECT_EQ(edited(padded, kNoGps), "<a/>");
}

TEST(XmpEditing, RefusesWhatIsNoPacket) {
  std::string deep;
  for (int i = 0; i < 300; ++i) deep += "<a>";
  for (int i = 0; i < 300; ++i) deep += "</a>";
  std::string attributes;
  for (int i = 0; i < 5000; ++i) attributes += " a" + std::to_string(i) + "='1'";
  const std::string cases[] = {"",
                               "no XML at all",
                               "<a",
                               "<a></b>",
                               "<a/><b/>",
                               "text <a/>",
                               "<!DOCTYPE a [<!ENTITY e 'exif'>]><a>&e;</a>",
                               std::string("<a>x\0y</a>", 10),
                               deep,
                               "<a" + attributes + "/>"};
  for (const std::string& each : cases) EXPECT_EQ(edited(each, {}), "absent") << each.substr(0, 40);
}

TEST(XmpEngineModule, AnswersWithoutEverRaising) {
  const ModuleLoader modules{QUELLOR_MODULES};
  const auto* const engine = modules.open<XmpEngine>("xmp", kXmpEngineEntry);
  ASSERT_NE(engine, nullptr);
  EXPECT_EQ(engine->edited(bytesOf("<a exif:GPSDOP='7'/>"), kNoGps), bytesOf("<a/>"));
  EXPECT_EQ(engine->edited({}, kNoGps), std::nullopt);
  EXPECT_EQ(engine->textOf(bytesOf("<a AuxiliaryImageType='disparity'/>"), "AuxiliaryImageType"), "disparity");
}

}  // namespace
}  // namespace quellor
