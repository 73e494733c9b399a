#include "platform/color_space.h"

#include <memory>
#include <string_view>
#include <utility>

#include "platform/color/known_spaces.h"
#include "platform/color/profile_builder.h"
#include "platform/color/profile_reader.h"

namespace quellor {
namespace {

std::optional<ImageColor> embeddedSpace(ColorModel model, const Bytes& icc) {
  if (icc.empty()) return std::nullopt;
  std::optional<ProfileFacts> facts = describeProfile(icc);
  if (!facts || facts->model != model) return std::nullopt;
  std::optional<std::string> name = facts->knownSpace ? std::move(facts->knownSpace) : facts->description;
  return ImageColor{ColorSpace(model, std::move(name), std::make_shared<const Bytes>(icc), true),
                    std::move(facts->description)};
}

std::string_view spaceName(ColorModel model, const std::optional<Cicp>& cicp) {
  switch (model) {
    case ColorModel::grey:
      return kDefaultGreySpace;
    case ColorModel::rgb:
      return rgbSpaceName(cicp.value_or(Cicp{}));
    case ColorModel::cmyk:
      break;
  }
  return kDefaultCmykSpace;
}

}  // namespace

ImageColor colorSpaceOf(ColorModel model, const std::optional<Bytes>& icc, const std::optional<Cicp>& cicp) {
  if (icc) {
    if (std::optional<ImageColor> embedded = embeddedSpace(model, *icc)) return *std::move(embedded);
  }
  std::string name(spaceName(model, cicp));
  std::optional<Bytes> built = buildProfile(name);
  auto profile = built ? std::make_shared<const Bytes>(*std::move(built)) : nullptr;
  return {ColorSpace(model, std::move(name), std::move(profile), false), std::nullopt};
}

}  // namespace quellor
