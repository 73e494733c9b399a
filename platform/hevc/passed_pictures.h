#pragma once
#include "platform/hevc/nal.h"
#include "platform/hevc/verify.h"

namespace quellor::hevc {

/// verify() of the picture in `stream`, once in the life of the process unless it is damaged: an operation looks at the
/// same picture and decodes it up to five times, and to recognise it by the SHA-256 digest of its parameter sets and
/// slice segments costs a small part of judging it again. A picture that is judged sooner than threads start does not
/// use `spread`. May be called on several threads. May throw std::bad_alloc, and what `spread` throws.
[[nodiscard]] Judgement judgementOf(const NalStream& stream, const Spread& spread = {});

}  // namespace quellor::hevc
