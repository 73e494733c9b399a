#pragma once
#include <memory>
#include <string>
#include <vector>

#include "platform/heif/container.h"

/// A HEIF file to be written: a small model that is filled from another file's items, whether that file came from a
/// camera or from an encoder, then given its metadata.
namespace quellor::heif {

struct OutputAssociation {
  std::size_t index = 0;  // into OutputFile::properties, counted from 0
  bool essential = false;
  friend bool operator==(const OutputAssociation&, const OutputAssociation&) = default;
};

struct OutputItem {
  ItemId id = 0;
  FourCC type = 0;
  bool hidden = false;
  std::string name;
  std::string contentType;  // of a mime item
  /// Runs of bytes, written one after the other; nobody copies them, so they outlive the model and what is made of it.
  std::vector<ByteView> data;
  std::vector<OutputAssociation> properties;  // in their order
};

struct OutputFile {
  FourCC majorBrand = 0;
  std::vector<FourCC> compatibleBrands;
  ItemId primaryItem = 0;
  std::vector<OutputItem> items;  // every id once
  std::vector<Bytes> properties;  // whole boxes, header included; those that no item has are not written
  std::vector<Reference> references;
  /// What items point into and nobody else keeps: metadata blocks, the file that an encoder produced in memory.
  std::vector<std::shared_ptr<const Bytes>> owned;
};

}  // namespace quellor::heif
