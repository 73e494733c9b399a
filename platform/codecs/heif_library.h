#pragma once
#include <memory>
#include <vector>

#include <libheif/heif.h>

#include "platform/heif/container.h"

/// Handles of the HEIF library, and its start.
namespace quellor::heif {

struct ContextDeleter {
  void operator()(heif_context* context) const { heif_context_free(context); }
};
struct HandleDeleter {
  void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
};
struct ImageDeleter {
  void operator()(heif_image* image) const { heif_image_release(image); }
};
struct OptionsDeleter {
  void operator()(heif_decoding_options* options) const { heif_decoding_options_free(options); }
};

using ContextPointer = std::unique_ptr<heif_context, ContextDeleter>;
using HandlePointer = std::unique_ptr<heif_image_handle, HandleDeleter>;
using ImagePointer = std::unique_ptr<heif_image, ImageDeleter>;
using OptionsPointer = std::unique_ptr<heif_decoding_options, OptionsDeleter>;

/// Starts the library without the plugins that it would load by itself, and loads those that decode these items.
/// What cannot be loaded shows when decoding fails. The environment has no say in where plugins come from.
void startLibraryFor(const std::vector<const Item*>& items);

/// The same for the HEVC encoder.
void startLibraryForEncoding();

}  // namespace quellor::heif
