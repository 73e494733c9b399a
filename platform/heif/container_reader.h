#pragma once
#include "platform/heif/container.h"
#include "platform/values/outcome.h"

namespace quellor::heif {

/// Reads the structure of a HEIF file: `ftyp`, and in `meta` `hdlr`, `pitm`, `iinf`, `iloc`, `iprp`, `iref` and
/// `idat`. Item data is not looked at, so a file that ends inside its media data still has a structure.
///
/// Absent when a box ends past its parent, a field past its box, a required box is missing, the handler is not
/// `pict`, an item id stands twice, a property index or the primary item does not exist, or a version of a box is
/// unknown; the reason says which. Never reads outside `file`; needs time and memory in proportion to it.
Outcome<Container> readContainer(ByteView file);

}  // namespace quellor::heif
