#pragma once
#include "platform/formats/hevc_decoder_module.h"
#include "platform/formats/hevc_encoder_module.h"

namespace quellor::formats {

/// The HEVC decoder, loaded when it is first asked for; null when its module is not there, cannot be loaded or was
/// built from other sources. It is looked for beside the modules of the running program and nowhere else.
const HevcDecoder* hevcDecoder();

/// The HEVC encoder, in the same way.
const HevcEncoder* hevcEncoder();

}  // namespace quellor::formats
