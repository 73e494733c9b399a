#pragma once
#include <optional>
#include <string>

#include "platform/values/bytes.h"

namespace quellor {

/// The text of a profile's tag, given the tag's bytes: multiLocalizedUnicodeType (ICC.1:2010, 10.13) in English,
/// else in its first language; the ASCII part of textDescriptionType (ICC.1:2001-04, 6.5.17), read as Latin-1, else
/// its Unicode part; textType (ICC.1:2010, 10.22).
///
/// The answer is valid UTF-8: the text up to its first NUL, without control characters; what is no character becomes
/// U+FFFD. Absent when the tag is of another type or damaged, or when nothing but blanks is left.
///
/// lcms2 is not asked for it, because its answer depends on its version, and some versions return memory that was
/// never written for characters outside the basic plane.
std::optional<std::string> profileText(ByteView tag);

}  // namespace quellor
