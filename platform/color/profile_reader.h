#pragma once
#include <optional>

#include "platform/bytes.h"
#include "platform/color/color_engine.h"

namespace quellor {

/// The facts of a profile; see ColorEngine::describe. Throws std::bad_alloc only.
///
/// Usable is a profile whose bytes are all there (the size in its header does not exceed them), which describes
/// colours of a grey, RGB or CMYK device or space (input, display, output and colour-space profiles) and which has
/// what it takes to interpret them: a table towards the profile connection space or, for grey and RGB, readable tone
/// curves and colorants (ICC.1:2010, clause 8). Tables are not read.
std::optional<ProfileFacts> describeProfile(ByteView profile);

}  // namespace quellor
