#pragma once
#include <memory>
#include <type_traits>

#include <lcms2.h>

/// Owners of lcms2's handles. A context of its own keeps every call free of the library's global state; without a
/// log handler in it, the library's messages go nowhere.
namespace quellor {

template <auto release>
struct LcmsRelease {
  template <typename Handle>
  void operator()(Handle* handle) const noexcept {
    release(handle);
  }
};

using LcmsContext = std::unique_ptr<std::remove_pointer_t<cmsContext>, LcmsRelease<cmsDeleteContext>>;
using LcmsProfile = std::unique_ptr<std::remove_pointer_t<cmsHPROFILE>, LcmsRelease<cmsCloseProfile>>;
using LcmsCurve = std::unique_ptr<cmsToneCurve, LcmsRelease<cmsFreeToneCurve>>;
using LcmsText = std::unique_ptr<cmsMLU, LcmsRelease<cmsMLUfree>>;

}  // namespace quellor
