#include "platform/metadata/exif_tags.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace quellor::metadata {

namespace {

struct TagName {
  std::uint16_t tag;
  std::string_view name;
};

// Ascending by tag.
constexpr TagName kTiffTags[] = {
    {256, "ImageWidth"},
    {257, "ImageLength"},
    {258, "BitsPerSample"},
    {259, "Compression"},
    {262, "PhotometricInterpretation"},
    {269, "DocumentName"},  // TIFF 6.0, section 12
    {270, "ImageDescription"},
    {271, "Make"},
    {272, "Model"},
    {273, "StripOffsets"},
    {274, "Orientation"},
    {277, "SamplesPerPixel"},
    {278, "RowsPerStrip"},
    {279, "StripByteCounts"},
    {282, "XResolution"},
    {283, "YResolution"},
    {284, "PlanarConfiguration"},
    {285, "PageName"},  // TIFF 6.0, section 12
    {296, "ResolutionUnit"},
    {297, "PageNumber"},  // TIFF 6.0, section 12
    {301, "TransferFunction"},
    {305, "Software"},
    {306, "DateTime"},
    {315, "Artist"},
    {316, "HostComputer"},  // TIFF 6.0, section 8
    {318, "WhitePoint"},
    {319, "PrimaryChromaticities"},
    {513, "JPEGInterchangeFormat"},
    {514, "JPEGInterchangeFormatLength"},
    {529, "YCbCrCoefficients"},
    {530, "YCbCrSubSampling"},
    {531, "YCbCrPositioning"},
    {532, "ReferenceBlackWhite"},
    {33432, "Copyright"},
};

constexpr TagName kExifTags[] = {
    {33434, "ExposureTime"},
    {33437, "FNumber"},
    {34850, "ExposureProgram"},
    {34852, "SpectralSensitivity"},
    {34855, "PhotographicSensitivity"},
    {34856, "OECF"},
    {34864, "SensitivityType"},
    {34865, "StandardOutputSensitivity"},
    {34866, "RecommendedExposureIndex"},
    {34867, "ISOSpeed"},
    {34868, "ISOSpeedLatitudeyyy"},
    {34869, "ISOSpeedLatitudezzz"},
    {36864, "ExifVersion"},
    {36867, "DateTimeOriginal"},
    {36868, "DateTimeDigitized"},
    {36880, "OffsetTime"},
    {36881, "OffsetTimeOriginal"},
    {36882, "OffsetTimeDigitized"},
    {37121, "ComponentsConfiguration"},
    {37122, "CompressedBitsPerPixel"},
    {37377, "ShutterSpeedValue"},
    {37378, "ApertureValue"},
    {37379, "BrightnessValue"},
    {37380, "ExposureBiasValue"},
    {37381, "MaxApertureValue"},
    {37382, "SubjectDistance"},
    {37383, "MeteringMode"},
    {37384, "LightSource"},
    {37385, "Flash"},
    {37386, "FocalLength"},
    {37396, "SubjectArea"},
    {37500, "MakerNote"},
    {37510, "UserComment"},
    {37520, "SubSecTime"},
    {37521, "SubSecTimeOriginal"},
    {37522, "SubSecTimeDigitized"},
    {37888, "Temperature"},
    {37889, "Humidity"},
    {37890, "Pressure"},
    {37891, "WaterDepth"},
    {37892, "Acceleration"},
    {37893, "CameraElevationAngle"},
    {40960, "FlashpixVersion"},
    {40961, "ColorSpace"},
    {40962, "PixelXDimension"},
    {40963, "PixelYDimension"},
    {40964, "RelatedSoundFile"},
    {41483, "FlashEnergy"},
    {41484, "SpatialFrequencyResponse"},
    {41486, "FocalPlaneXResolution"},
    {41487, "FocalPlaneYResolution"},
    {41488, "FocalPlaneResolutionUnit"},
    {41492, "SubjectLocation"},
    {41493, "ExposureIndex"},
    {41495, "SensingMethod"},
    {41728, "FileSource"},
    {41729, "SceneType"},
    {41730, "CFAPattern"},
    {41985, "CustomRendered"},
    {41986, "ExposureMode"},
    {41987, "WhiteBalance"},
    {41988, "DigitalZoomRatio"},
    {41989, "FocalLengthIn35mmFilm"},
    {41990, "SceneCaptureType"},
    {41991, "GainControl"},
    {41992, "Contrast"},
    {41993, "Saturation"},
    {41994, "Sharpness"},
    {41995, "DeviceSettingDescription"},
    {41996, "SubjectDistanceRange"},
    {42016, "ImageUniqueID"},
    {42032, "CameraOwnerName"},
    {42033, "BodySerialNumber"},
    {42034, "LensSpecification"},
    {42035, "LensMake"},
    {42036, "LensModel"},
    {42037, "LensSerialNumber"},
    {42080, "CompositeImage"},
    {42081, "SourceImageNumberOfCompositeImage"},
    {42082, "SourceExposureTimesOfCompositeImage"},
    {42240, "Gamma"},
};

constexpr TagName kGpsTags[] = {
    {0, "VersionID"},        {1, "LatitudeRef"},
    {2, "Latitude"},         {3, "LongitudeRef"},
    {4, "Longitude"},        {5, "AltitudeRef"},
    {6, "Altitude"},         {7, "TimeStamp"},
    {8, "Satellites"},       {9, "Status"},
    {10, "MeasureMode"},     {11, "DOP"},
    {12, "SpeedRef"},        {13, "Speed"},
    {14, "TrackRef"},        {15, "Track"},
    {16, "ImgDirectionRef"}, {17, "ImgDirection"},
    {18, "MapDatum"},        {19, "DestLatitudeRef"},
    {20, "DestLatitude"},    {21, "DestLongitudeRef"},
    {22, "DestLongitude"},   {23, "DestBearingRef"},
    {24, "DestBearing"},     {25, "DestDistanceRef"},
    {26, "DestDistance"},    {27, "ProcessingMethod"},
    {28, "AreaInformation"}, {29, "DateStamp"},
    {30, "Differential"},    {31, "HPositioningError"},
};

constexpr bool ascending(std::span<const TagName> names) {
  return std::is_sorted(names.begin(), names.end(), [](const TagName& a, const TagName& b) { return a.tag < b.tag; });
}
static_assert(ascending(kTiffTags) && ascending(kExifTags) && ascending(kGpsTags));

std::span<const TagName> namesOf(TagGroup group) {
  switch (group) {
    case TagGroup::tiff:
      return kTiffTags;
    case TagGroup::exif:
      return kExifTags;
    case TagGroup::gps:
      return kGpsTags;
  }
  return {};
}

}  // namespace

std::string tagKey(TagGroup group, std::uint16_t tag) {
  const auto names = namesOf(group);
  const auto found = std::lower_bound(names.begin(), names.end(), tag,
                                      [](const TagName& name, std::uint16_t t) { return name.tag < t; });
  if (found != names.end() && found->tag == tag) return std::string(found->name);
  return std::to_string(tag);
}

}  // namespace quellor::metadata
