#include "platform/metadata/iptc_properties.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/metadata/text_decoding.h"

namespace quellor::metadata {

namespace {

constexpr std::uint8_t kTagMarker = 0x1C;
constexpr std::uint8_t kApplicationRecord = 2;
constexpr std::size_t kHeaderSize = 5;

struct DatasetName {
  std::uint8_t number;
  std::string_view name;
  bool repeatable = false;
};

// IIM 4.2, chapter 6: the names without spaces and hyphens.
constexpr DatasetName kApplicationDatasets[] = {
    {3, "ObjectTypeReference"},
    {4, "ObjectAttributeReference", true},
    {5, "ObjectName"},
    {7, "EditStatus"},
    {8, "EditorialUpdate"},
    {10, "Urgency"},
    {12, "SubjectReference", true},
    {15, "Category"},
    {20, "SupplementalCategory", true},
    {22, "FixtureIdentifier"},
    {25, "Keywords", true},
    {26, "ContentLocationCode", true},
    {27, "ContentLocationName", true},
    {30, "ReleaseDate"},
    {35, "ReleaseTime"},
    {37, "ExpirationDate"},
    {38, "ExpirationTime"},
    {40, "SpecialInstructions"},
    {42, "ActionAdvised"},
    {45, "ReferenceService", true},
    {47, "ReferenceDate", true},
    {50, "ReferenceNumber", true},
    {55, "DateCreated"},
    {60, "TimeCreated"},
    {62, "DigitalCreationDate"},
    {63, "DigitalCreationTime"},
    {65, "OriginatingProgram"},
    {70, "ProgramVersion"},
    {75, "ObjectCycle"},
    {80, "Byline", true},
    {85, "BylineTitle", true},
    {90, "City"},
    {92, "SubLocation"},
    {95, "Province/State"},
    {100, "Country/PrimaryLocationCode"},
    {101, "Country/PrimaryLocationName"},
    {103, "OriginalTransmissionReference"},
    {105, "Headline"},
    {110, "Credit"},
    {115, "Source"},
    {116, "CopyrightNotice"},
    {118, "Contact", true},
    {120, "Caption/Abstract"},
    {122, "Writer/Editor", true},
    {130, "ImageType"},
    {131, "ImageOrientation"},
    {135, "LanguageIdentifier"},
};

struct Dataset {
  std::uint8_t record;
  std::uint8_t number;
  ByteView value;
};

/// Takes the dataset that `rest` begins with off it; absent when there is no complete one.
std::optional<Dataset> takeDataset(ByteView& rest) {
  if (rest.size() < kHeaderSize || rest[0] != kTagMarker) return std::nullopt;
  std::size_t header = kHeaderSize;
  std::size_t size = static_cast<std::size_t>(rest[3] << 8 | rest[4]);
  if ((size & 0x8000) != 0) {  // extended dataset: the low bits count the bytes of the real size
    const std::size_t sizeBytes = size & 0x7FFF;
    if (sizeBytes > 4 || rest.size() - header < sizeBytes) return std::nullopt;
    size = 0;
    for (const std::uint8_t byte : rest.subspan(header, sizeBytes)) size = size << 8 | byte;
    header += sizeBytes;
  }
  if (rest.size() - header < size) return std::nullopt;
  const Dataset dataset{rest[1], rest[2], rest.subspan(header, size)};
  rest = rest.subspan(header + size);
  return dataset;
}

const DatasetName* nameOf(const Dataset& dataset) {
  if (dataset.record != kApplicationRecord) return nullptr;
  const auto found =
      std::find_if(std::begin(kApplicationDatasets), std::end(kApplicationDatasets),
                   [&dataset](const DatasetName& candidate) { return candidate.number == dataset.number; });
  return found == std::end(kApplicationDatasets) ? nullptr : found;
}

void add(PropertyDictionary& dictionary, std::string_view key, PropertyValue value, bool repeatable) {
  PropertyValue* const present = dictionary.find(key);
  if (present == nullptr) {
    dictionary.set(key, repeatable ? PropertyValue(PropertyList{std::move(value)}) : std::move(value));
  } else if (auto* const list = present->as<PropertyList>()) {
    list->push_back(std::move(value));
  } else {
    *present = PropertyValue(PropertyList{std::move(*present), std::move(value)});
  }
}

}  // namespace

PropertyDictionary iptcProperties(ByteView iptc) {
  PropertyDictionary dictionary;
  while (const auto dataset = takeDataset(iptc)) {
    if (const DatasetName* const name = nameOf(*dataset)) {
      add(dictionary, name->name, decodeText(dataset->value), name->repeatable);
    } else {
      add(dictionary, std::to_string(dataset->record) + ":" + std::to_string(dataset->number),
          Bytes(dataset->value.begin(), dataset->value.end()), false);
    }
  }
  return dictionary;
}

}  // namespace quellor::metadata
