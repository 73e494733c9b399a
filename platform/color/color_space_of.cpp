#include "platform/color/color_space_of.h"

#include <memory>
#include <string_view>
#include <utility>

#include "platform/color/known_spaces.h"

namespace quellor {
namespace {

std::optional<ImageColor> embeddedSpace(const ColorEngine* engine, ColorModel model, const Bytes& icc) {
  if (icc.empty()) return std::nullopt;
  ProfileFacts facts;
  if (engine != nullptr) {
    std::optional<ProfileFacts> described = engine->describe(icc);
    if (!described || described->model != model) return std::nullopt;
    facts = std::move(*described);
  }
  std::optional<std::string> name = facts.knownSpace ? std::move(facts.knownSpace) : facts.description;
  return ImageColor{ColorSpace(model, std::move(name), std::make_shared<const Bytes>(icc), true),
                    std::move(facts.description)};
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

ImageColor colorSpaceOf(const ColorEngine* engine, ColorModel model, const std::optional<Bytes>& icc,
                        const std::optional<Cicp>& cicp) {
  if (icc) {
    if (std::optional<ImageColor> embedded = embeddedSpace(engine, model, *icc)) return *std::move(embedded);
  }
  std::string name(spaceName(model, cicp));
  std::shared_ptr<const Bytes> profile;
  if (engine != nullptr) {
    if (std::optional<Bytes> built = engine->build(name)) profile = std::make_shared<const Bytes>(*std::move(built));
  }
  return {ColorSpace(model, std::move(name), std::move(profile), false), std::nullopt};
}

}  // namespace quellor
