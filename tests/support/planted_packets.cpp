#include <algorithm>
#include <string>

#include "tests/support/byte_texts.h"
#include "tests/support/planted_metadata.h"

namespace quellor::test_support {
namespace {

const std::string kNamespaces =
    " xmlns:exif='http://ns.adobe.com/exif/1.0/' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' "
    "xmlns:dc='http://purl.org/dc/elements/1.1/'";

std::string attributes(const std::string& exif = "exif", const std::string& tiff = "tiff") {
  return " " + exif + ":GPSLatitude='" + std::string(kPlantedPosition) + "' " + exif + ":MakerNote='" +
         std::string(kPlantedNote) + "' " + tiff + ":Make='" + std::string(kPlantedMake) + "' " + tiff + ":Model='" +
         std::string(kPlantedModel) + "'";
}

std::string element(const std::string& name, std::string_view text) {
  return "<" + name + ">" + std::string(text) + "</" + name + ">";
}

std::string elements(const std::string& exif = "exif", const std::string& tiff = "tiff") {
  return element(exif + ":GPSLatitude", kPlantedPosition) + element(exif + ":MakerNote", kPlantedNote) +
         element(tiff + ":Make", kPlantedMake) + element(tiff + ":Model", kPlantedModel);
}

std::string meta(const std::string& content) {
  return "<x:xmpmeta xmlns:x='adobe:ns:meta/'>" + content + "</x:xmpmeta>";
}

std::string rdf(const std::string& content) {
  return "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>" + content + "</rdf:RDF>";
}

std::string description(const std::string& more, const std::string& content,
                        const std::string& namespaces = kNamespaces) {
  return "<rdf:Description rdf:about=''" + namespaces + more + ">" + element("dc:description", kPlantedDescription) +
         content + "</rdf:Description>";
}

std::string wrapped(const std::string& body) {
  return "<?xpacket begin='\xEF\xBB\xBF' id='W5M0MpCehiHzreSzNTczkc9d'?>" + body + "   \n<?xpacket end='w'?>";
}

std::string packet(const std::string& more, const std::string& content) {
  return wrapped(meta(rdf(description(more, content))));
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  return text.replace(text.find(what), what.size(), with);
}

Bytes wide(std::string_view text, int unit, bool bigEndian, bool mark) {
  Bytes bytes;
  const auto add = [&](std::uint32_t character) {
    for (int i = 0; i < unit; ++i) {
      bytes.push_back(static_cast<std::uint8_t>(character >> (8 * (bigEndian ? unit - 1 - i : i))));
    }
  };
  if (mark) add(0xFEFF);
  for (const char c : text) add(static_cast<unsigned char>(c));
  return bytes;
}

}  // namespace

std::vector<Planted> plantedPackets() {
  const std::string whole = meta(rdf(description(attributes(), "")));
  const std::string inElements = meta(rdf(description("", elements())));
  std::vector<Planted> packets;
  const auto add = [&](const char* form, const std::string& text) { packets.push_back({form, bytesOf(text)}); };
  add("in order, as attributes", wrapped(whole));
  add("in order, as elements", wrapped(inElements));
  add("without a wrapper", whole);
  add("RDF alone", rdf(description(attributes(), "")));
  add("under other prefixes",
      packet(" xmlns:e='http://ns.adobe.com/exif/1.0/' xmlns:t='http://ns.adobe.com/tiff/1.0/'" + attributes("e", "t"),
             ""));
  add("in namespaces without the last slash",
      packet(" xmlns:e='http://ns.adobe.com/exif/1.0' xmlns:t='http://ns.adobe.com/tiff/1.0'" + attributes("e", "t"),
             ""));
  add("under the usual prefixes of other namespaces",
      wrapped(meta(rdf("<rdf:Description xmlns:exif='urn:e' xmlns:tiff='urn:t'" + attributes() + "/>"))));
  add("in namespaces with an entity",
      packet(" xmlns:e='http://ns.adobe.com/exif/1.0&#47;' xmlns:t='http://ns.adobe.com/tiff/1.0&#x2F;'" +
                 attributes("e", "t"),
             ""));
  add("deep in a structure", packet("", "<dc:source><rdf:Bag><rdf:li rdf:parseType='Resource'>" + elements() +
                                            "</rdf:li></rdf:Bag></dc:source>"));
  add("in a nested description", packet("", "<dc:source><rdf:Description" + attributes() + "/></dc:source>"));
  add("in a comment", packet("", "<!--" + attributes() + "-->"));
  add("in a comment behind the root", wrapped(whole) + "<!--" + attributes() + "-->");
  add("in an instruction", packet("", "<?note" + attributes() + "?>"));
  add("in the wrapper", "<?xpacket begin='' id='W5M0MpCehiHzreSzNTczkc9d'" + attributes() + "?>" + whole);
  add("in a CDATA section", packet("", "<dc:source><![CDATA[" + elements() + "]]></dc:source>"));
  add("as markup in an attribute", packet(" dc:source=\"" + elements() + "\"", ""));
  add("as escaped markup of the position",
      packet("", "<dc:source>&lt;exif:GPSLatitude&gt;" + std::string(kPlantedPosition) + "</dc:source>"));
  add("as an embedded picture", packet(" xmlns:g='http://ns.google.com/photos/1.0/image/'",
                                       element("g:Data", std::string(kPlantedPosition) + std::string(kPlantedMake) +
                                                             std::string(kPlantedModel) + std::string(kPlantedNote))));
  add("in two packets of RDF",
      wrapped(meta(rdf(description("", "")) + rdf("<rdf:Description" + kNamespaces + attributes() + "/>"))));
  add("with a mismatched tag", packet("", elements() + "<dc:a></dc:b>"));
  add("with a tag that is not closed", packet("", elements() + "<dc:a>"));
  add("with a document type", "<!DOCTYPE x [<!ENTITY e 'exif'>]>" + whole);
  add("with a second root", whole + rdf(description(attributes(), "")));
  add("with text before the root", "text " + whole);
  add("with text behind the root", whole + " text");
  add("with markup as text behind the root", whole + "</x:xmpmeta>" + elements());
  add("with NULs behind the root", whole + std::string(8, '\0'));
  add("with a NUL behind the root, and more", meta(rdf(description("", ""))) + std::string(1, '\0') + inElements);
  add("with a NUL in the middle", replaced(inElements, "<exif:GPS", std::string(1, '\0') + "<exif:GPS"));
  add("cut in the last tag", whole.substr(0, whole.size() - 5));
  add("cut behind the properties", inElements.substr(0, inElements.find("</rdf:Description>")));
  add("cut inside a value", inElements.substr(0, inElements.find(kPlantedModel) + 17));
  add("with an undeclared prefix", packet(" n:a='1'", elements()));
  add("with its own prefixes undeclared", wrapped(meta(rdf("<rdf:Description" + attributes() + "/>"))));
  add("XML that is not RDF",
      "<photo" + kNamespaces + attributes() + ">" + std::string(kPlantedDescription) + "</photo>");
  add("XML that is not RDF, in other words", "<photo><place>" + std::string(kPlantedPosition) + "</place><by>" +
                                                 std::string(kPlantedMake) + std::string(kPlantedModel) + "</by>" +
                                                 std::string(kPlantedNote) + "</photo>");
  add("beside the RDF", wrapped(meta(rdf(description("", "")) + "<photo" + kNamespaces + attributes() + "/>")));
  add("in a node that is no description", wrapped(meta(rdf("<photo" + kNamespaces + attributes() + "/>"))));
  add("no XML", std::string(kPlantedPosition) + std::string(kPlantedMake) + std::string(kPlantedModel) +
                    std::string(kPlantedNote) + std::string(kPlantedDescription));
  add("declared as Latin-1",
      "<?xml version='1.0' encoding='ISO-8859-1'?>" + replaced(inElements, "<dc:d", "\xE9<dc:d"));
  add("declared as Latin-1, with an accent in a text",
      "<?xml version='1.0' encoding='ISO-8859-1'?>" + replaced(inElements, "PLANTED-IN", "\xE9 PLANTED-IN"));
  add("declared as UTF-7", "<?xml version='1.0' encoding='UTF-7'?>" + whole);
  add("with bytes that are no UTF-8", replaced(wrapped(whole), "PLANTED-IN", "\xC0\xBC PLANTED-IN"));
  add("nested too deeply", packet("", [] {
        std::string deep = elements();
        for (int i = 0; i < 300; ++i) deep = "<dc:a>" + deep + "</dc:a>";
        return deep;
      }()));
  for (const bool bigEndian : {false, true}) {
    for (const bool mark : {false, true}) {
      packets.push_back({"as UTF-16", wide(whole, 2, bigEndian, mark)});
      packets.push_back({"as UTF-16 with elements", wide(inElements, 2, bigEndian, mark)});
      packets.push_back({"as UTF-16 that is not well-formed", wide(inElements + "<a>", 2, bigEndian, mark)});
      packets.push_back({"as UTF-32", wide(whole, 4, bigEndian, mark)});
    }
    Bytes odd = wide(whole, 2, bigEndian, true);
    odd.pop_back();
    packets.push_back({"as UTF-16 that is cut", odd});
  }
  return packets;
}

std::vector<Bytes> spellingsOf(std::string_view text) {
  return {bytesOf(text), wide(text, 2, false, false), wide(text, 2, true, false)};
}

bool holdsText(ByteView bytes, std::string_view text) {
  const auto spellings = spellingsOf(text);
  return std::any_of(spellings.begin(), spellings.end(), [&](const Bytes& spelling) {
    return std::search(bytes.begin(), bytes.end(), spelling.begin(), spelling.end()) != bytes.end();
  });
}

}  // namespace quellor::test_support
