#pragma once

/// The HEVC syntax (ITU-T H.265) and the proof that an intra picture is whole: the public face of this folder. Other
/// folders include this header; all others here but the four below are its inside.
///
///     NalStream stream;                              // nal.h: the units, from an item's data or one by one
///     stream.append(data);                           // false: not even units
///     const auto units = stream.units();
///     const auto shape = shapeOf(units);             // verify.h: what the parameter sets say
///     const Judgement judgement = verify(units);     // verify.h: intact, damaged or unknown, and why
///     const Judgement again = judgementOf(stream);   // passed_pictures.h: the same, remembered
///
/// The library depends on nothing but platform/values, starts no thread (a caller that has some hands them in as a
/// Spread), and reads no byte beyond those that it is given.
#include "platform/hevc/nal.h"              // IWYU pragma: export
#include "platform/hevc/parameter_sets.h"   // IWYU pragma: export
#include "platform/hevc/passed_pictures.h"  // IWYU pragma: export
#include "platform/hevc/verify.h"           // IWYU pragma: export
