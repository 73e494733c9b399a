#pragma once
#include "platform/properties.h"

namespace quellor::metadata {

/// The entries of the {IPTC} dictionary from a run of IIM datasets (IPTC-NAA Information Interchange Model 4.2,
/// chapter 3). Reading stops at the first byte that begins no complete dataset.
///
/// Datasets of record 2 that have a name ("Keywords", "Caption/Abstract") become text; the repeatable ones among them
/// always become a list. Any other dataset goes under "record:dataset" ("1:90") as bytes. What is not repeatable and
/// yet there more than once becomes a list, too.
PropertyDictionary iptcProperties(ByteView iptc);

}  // namespace quellor::metadata
