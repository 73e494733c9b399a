#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/metadata/xmp_editor.h"
#include "tests/support/byte_texts.h"

namespace quellor {
namespace {

using test_support::bytesOf;
using testing::HasSubstr;
using testing::Not;

constexpr XmpEdit kNothing{};
constexpr XmpEdit kNoPosition{{.position = true}, {}};
constexpr XmpEdit kNoMaker{{.make = true, .model = true, .makerNote = true}, {}};
constexpr XmpEdit kNone{{.position = true, .make = true, .model = true, .makerNote = true}, {}};

XmpEdit withOrientation(int orientation) { return {{}, orientation}; }

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
  EXPECT_EQ(edited(plain, kNothing), plain);
  EXPECT_EQ(edited(plain, {kNone.removals, 6}), plain);
  const std::string withByteOrderMark = "\xEF\xBB\xBF" + plain;
  EXPECT_EQ(edited(withByteOrderMark, kNoPosition), withByteOrderMark);
}

TEST(XmpEditing, RemovesProperties) {
  const struct {
    const char* what;
    std::string attributes, content;
    XmpEdit edit;
  } cases[] = {
      {"attribute", "exif:GPSLatitude='52,31.2N'", "", kNoPosition},
      {"element", "", "<exif:GPSLatitude>52,31.2N</exif:GPSLatitude>", kNoPosition},
      {"newer Exif namespace", "exifEX:GPSHPositioningError='52,31.2N'", "", kNoPosition},
      {"structure", "", "<exif:GPSx rdf:parseType='Resource'><dc:a>52,31.2N</dc:a></exif:GPSx>", kNoPosition},
      {"other prefix", "xmlns:e='http://ns.adobe.com/exif/1.0/' e:GPSLatitude='52,31.2N'", "", kNoPosition},
      {"declared on the element", "", "<e:GPSLatitude xmlns:e='http://ns.adobe.com/exif/1.0/'>52,31.2N</e:GPSLatitude>",
       kNoPosition},
      {"default namespace", "", "<GPSLatitude xmlns='http://ns.adobe.com/exif/1.0/'>52,31.2N</GPSLatitude>",
       kNoPosition},
      {"URI without its last slash", "",
       "<e:GPSLatitude xmlns:e='http://ns.adobe.com/exif/1.0'>52,31.2N</e:GPSLatitude>", kNoPosition},
      {"deep inside another property", "",
       "<dc:source><rdf:Bag><rdf:li exif:GPSLatitude='52,31.2N'/></rdf:Bag></dc:source>", kNoPosition},
      {"drone vocabulary", "xmlns:d='http://www.dji.com/drone-dji/1.0/' d:GpsLatitude='52,31.2N'", "", kNoPosition},
      {"another namespace", "xmlns:n='urn:other' n:GPSLatitude='52,31.2N'", "", kNoPosition},
      {"no namespace", "", "<GPSLatitude>52,31.2N</GPSLatitude>", kNoPosition},
      {"another case", "xmlns:n='urn:other' n:gpsLatitude='52,31.2N'", "", kNoPosition},
      {"words of collections", "xmlns:n='urn:other' n:decimalLatitude='52,31.2N'", "", kNoPosition},
      {"height above ground", "xmlns:d='http://www.dji.com/drone-dji/1.0/' d:RelativeAltitude='52,31.2N'", "",
       kNoPosition},
      {"thumbnails", "xmlns:xmp='http://ns.adobe.com/xap/1.0/'",
       "<xmp:Thumbnails><rdf:Alt><rdf:li>52,31.2N</rdf:li></rdf:Alt></xmp:Thumbnails>", kNoPosition},
      {"an embedded photo", "xmlns:g='http://ns.google.com/photos/1.0/image/' g:Data='52,31.2N'", "", kNoMaker},
      {"a comment", "", "<!-- 52,31.2N -->", kNoPosition},
      {"a comment, where another thing goes", "", "<!-- 52,31.2N -->", kNoMaker},
      {"a processing instruction", "", "<?note 52,31.2N?>", kNoPosition},
      {"a prefix that is declared as another", "", "<tiff:Make xmlns:tiff='urn:other'>52,31.2N</tiff:Make>", kNoMaker},
      {"a maker note of an application",
       "xmlns:c='http://ns.google.com/photos/1.0/camera/' c:HdrPlusMakernote='52,31.2N'", "", kNoMaker},
      {"W3C vocabulary", "", "<g:lat xmlns:g='http://www.w3.org/2003/01/geo/wgs84_pos#'>52,31.2N</g:lat>", kNoPosition},
      {"location", "xmlns:l='http://iptc.org/std/Iptc4xmpExt/2008-02-29/'",
       "<l:LocationCreated><rdf:Bag><rdf:li rdf:parseType='Resource'><exif:GPSLatitude>1</exif:GPSLatitude>"
       "<l:Sublocation>52,31.2N</l:Sublocation></rdf:li></rdf:Bag></l:LocationCreated>",
       kNoPosition},
      {"location with attributes", "xmlns:l='http://iptc.org/std/Iptc4xmpExt/2008-02-29/'",
       "<l:LocationShown exif:GPSLatitude='1' l:Sublocation='52,31.2N'/>", kNoPosition},
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
    EXPECT_EQ(edited(before, kNothing), before) << c.what;
  }
}

TEST(XmpEditing, KeepsWhatOnlyLooksLikeIt) {
  const std::string cases[] = {
      packet("exif:Make='1' tiff:MakerNotes='1' tiff:Makes='1'", "<dc:Model>1</dc:Model>"),
      packet("", "<dc:description>GPS position, latitude and longitude; a Make and a Model</dc:description>"),
      packet("exif:Flash='1' exif:PixelXDimension='1'", ""),
      packet("xmlns:l='http://iptc.org/std/Iptc4xmpExt/2008-02-29/'",
             "<l:LocationCreated><rdf:Bag><rdf:li l:City='Berlin'/></rdf:Bag></l:LocationCreated>"),
  };
  for (const std::string& each : cases) EXPECT_EQ(edited(each, kNone), each);
}

TEST(XmpEditing, RemovesOnlyTheMakerPropertiesAskedFor) {
  const std::string before = packet("tiff:Make='A' tiff:Model='B' exif:MakerNote='C'", "");
  EXPECT_EQ(edited(before, {{.model = true}, {}}).find("tiff:Model"), std::string::npos);
  EXPECT_THAT(edited(before, {{.model = true}, {}}), HasSubstr("tiff:Make=\"A\""));
  EXPECT_THAT(edited(before, {{.model = true}, {}}), HasSubstr("exif:MakerNote=\"C\""));
}

TEST(XmpEditing, WritesEverythingElseAsItWas) {
  const std::string head =
      "<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'?>\r\n<x:xmpmeta xmlns:x=\"adobe:ns:meta/\" "
      "x:xmptk=\"any\">\r\n "
      "<rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\r\n  <rdf:Description rdf:about=\"\" "
      "xmlns:a=\"urn:a\" xmlns:exif=\"http://ns.adobe.com/exif/1.0/\" ";
  const std::string tail =
      "  <a:c>x &amp; y &#13; <![CDATA[z]]></a:c>\n</rdf:Description></rdf:RDF></x:xmpmeta>\n   \n<?xpacket "
      "end='w'?>\n";
  const std::string before =
      head + "a:q='&lt;&#x9;&quot;&apos;&#10;\xC3\xBC' a:r='say \"hi\"'>\r\n  <exif:GPSDOP>7</exif:GPSDOP>\n" + tail;
  EXPECT_EQ(edited(before, kNoPosition),
            head + "a:q=\"&lt;&#x9;&quot;&apos;&#10;\xC3\xBC\" a:r=\"say &quot;hi&quot;\">\n" + tail);
}

TEST(XmpEditing, MakesTheOrientationAgree) {
  const XmpEdit turn = withOrientation(8);
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

/// The text as UTF-16, with a byte-order mark where the text begins with one.
Bytes utf16Of(std::string_view ascii, bool bigEndian, bool mark) {
  Bytes utf16;
  const auto add = [&](char16_t unit) {
    const auto high = static_cast<std::uint8_t>(unit >> 8);
    const auto low = static_cast<std::uint8_t>(unit & 0xFF);
    utf16.insert(utf16.end(), {bigEndian ? high : low, bigEndian ? low : high});
  };
  if (mark) add(0xFEFF);
  for (const char c : ascii) add(static_cast<unsigned char>(c));
  return utf16;
}

std::string withoutWrapper(const std::string& whole) {
  const std::size_t begin = whole.find("<x:xmpmeta");
  return whole.substr(begin, whole.find("</x:xmpmeta>") + 12 - begin);
}

TEST(XmpEditing, TurnsUtf16IntoUtf8OnceSomethingIsRemoved) {
  const std::string text = withoutWrapper(packet("exif:GPSDOP='7' dc:a='kept'", ""));
  for (const bool bigEndian : {false, true}) {
    for (const bool mark : {false, true}) {
      const Bytes utf16 = utf16Of(text, bigEndian, mark);
      EXPECT_EQ(editedXmp(utf16, kNothing), utf16);
      EXPECT_TRUE(contentsOfXmp(utf16).position);
      const auto without = editedXmp(utf16, kNoPosition);
      ASSERT_TRUE(without);
      const std::string utf8(without->begin(), without->end());
      EXPECT_THAT(utf8, HasSubstr("dc:a=\"kept\""));
      EXPECT_THAT(utf8, Not(HasSubstr("GPSDOP")));
      const auto converted = editedXmp(utf16, kNoMaker);
      ASSERT_TRUE(converted);
      EXPECT_EQ(std::string(converted->begin(), converted->end()).find('\0'), std::string::npos) << "written as UTF-8";
    }
  }
}

TEST(XmpEditing, WritesValidUtf8) {
  EXPECT_THAT(edited(packet("exif:GPSDOP='7'", "<dc:a>caf\xE9</dc:a>"), kNoPosition),
              HasSubstr("<dc:a>caf\xC3\xA9</dc:a>"));
}

TEST(XmpEditing, DropsZerosBehindAPacketOnceSomethingIsRemoved) {
  const std::string plain = packet("exif:GPSDOP='7'", "");
  const std::string padded = plain + std::string(3, '\0');
  EXPECT_EQ(edited(padded, kNothing), padded);
  EXPECT_EQ(edited(padded, kNoPosition), edited(plain, kNoPosition));
  const std::string hiding = padded + "exif:GPSLatitude";
  EXPECT_EQ(edited(hiding, kNoPosition), "absent");
}

TEST(XmpEditing, RefusesWhatCannotBeParsed) {
  std::string deep;
  for (int i = 0; i < 300; ++i) deep += "<a>";
  for (int i = 0; i < 300; ++i) deep += "</a>";
  std::string attributes;
  for (int i = 0; i < 5000; ++i) attributes += " a" + std::to_string(i) + "='1'";
  const std::string cases[] = {"",
                               "no XML at all",
                               "<a",
                               "<a></b>",
                               "<a/> <",
                               "<a/><b/>",
                               "text <a/>",
                               "<!DOCTYPE a [<!ENTITY e 'exif'>]><a>&e;</a>",
                               std::string("<a>x\0y</a>", 10),
                               deep,
                               "<a" + attributes + "/>"};
  for (const std::string& each : cases) EXPECT_EQ(edited(each, kNothing), "absent") << each.substr(0, 40);
}

TEST(XmpEditing, RefusesToRemoveFromWhatIsNoStrictPacket) {
  const std::string rdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
  const struct {
    const char* what;
    std::string text;
  } cases[] = {
      {"no RDF", "<a xmlns:exif='http://ns.adobe.com/exif/1.0/' exif:FNumber='1'/>"},
      {"RDF in something else", "<a><r:RDF xmlns:r='" + rdf + "'/></a>"},
      {"another element beside RDF",
       "<x:xmpmeta xmlns:x='adobe:ns:meta/'><b/><r:RDF xmlns:r='" + rdf + "'/></x:xmpmeta>"},
      {"a node that is no description", "<r:RDF xmlns:r='" + rdf + "'><a/></r:RDF>"},
      {"text in a description", packet("", "text")},
      {"a CDATA section in a description", packet("", "<![CDATA[text]]>")},
      {"an undeclared prefix of an element", packet("", "<n:a/>")},
      {"an undeclared prefix of an attribute", packet("n:a='1'", "")},
      {"an entity in a namespace", packet("xmlns:n='http://ns.adobe.com/tiff/1.0&#47;' n:Make='1'", "")},
      {"a quotation mark in a namespace", packet("xmlns:n='urn:n\" tiff:Make=\"1'", "")},
      {"another script in a namespace", packet("xmlns:n='urn:\xC3\xBC'", "")},
      {"white space in a namespace", packet("xmlns:n='urn:n exif:FNumber=1'", "")},
      {"markup in an attribute", packet("dc:a='<exif:FNumber>1'", "")},
      {"markup in a CDATA section", packet("", "<dc:a><![CDATA[<exif:FNumber>1]]></dc:a>")},
      {"another encoding", "<?xml version='1.0' encoding='UTF-7'?>" + withoutWrapper(packet("", ""))},
      {"the name of a coordinate in a text", packet("", "<dc:a>exif:GPSLatitude=1</dc:a>")},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(edited(c.text, kNoPosition), "absent") << c.what;
    EXPECT_EQ(edited(c.text, kNothing), c.text) << c.what;
  }
}

TEST(XmpEditing, RemovesWrappersThatAreNotInTheirUsualForm) {
  const std::string body = withoutWrapper(packet("", ""));
  const struct {
    std::string wrapper;
    bool stays;
  } cases[] = {
      {"<?xpacket begin=\"\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>", true},
      {"<?xpacket begin='\xEF\xBB\xBF' id='W5M0MpCehiHzreSzNTczkc9d' bytes='1234' encoding='UTF-8'?>", true},
      {"<?xpacket end='w'?>", true},
      {"<?xpacket end=\"r\"?>", true},
      {"<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d' at='52,31.2N'?>", false},
      {"<?xpacket begin='52' id='W5M0MpCehiHzreSzNTczkc9d'?>", false},
      {"<?xpacket 52,31.2N?>", false},
      {"<?adobe-xap-filters esc=\"CR\"?>", false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(edited(c.wrapper + body, kNoPosition) == c.wrapper + body, c.stays) << c.wrapper;
  }
}

TEST(XmpEditing, EscapesQuotesInTimeThatGrowsWithThem) {
  // A value of a million quotes is escaped in one pass; one pass for each of them would never end.
  const std::string before = packet("exif:GPSDOP='7' dc:a='" + std::string(1'000'000, '"') + "'", "");
  EXPECT_EQ(edited(before, kNoPosition).size(),
            edited(packet("exif:GPSDOP='7' dc:a=''", ""), kNoPosition).size() + 6'000'000);
}

}  // namespace
}  // namespace quellor
