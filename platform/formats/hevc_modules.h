#pragma once
#include <stdexcept>

#include "platform/formats/hevc_decoder_module.h"
#include "platform/formats/hevc_encoder_module.h"

namespace quellor {

/// A loadable module is not installed, cannot be loaded or was built from other sources. what() says which and why.
class MissingModule : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace quellor

namespace quellor::formats {

/// The HEVC decoder, loaded when it is first asked for and never closed. Its module is looked for in "modules" beside
/// the running program (the build tree) or in "../lib/quellor" (once installed); the environment has no say. Raises
/// MissingModule.
const HevcDecoder& hevcDecoder();

/// The HEVC encoder, in the same way.
const HevcEncoder& hevcEncoder();

}  // namespace quellor::formats
