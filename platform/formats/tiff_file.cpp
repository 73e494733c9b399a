#include "platform/formats/tiff_file.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "platform/values/limits.h"

namespace quellor::tiff {
namespace {

/// The largest single piece of memory that the library may ask for: a whole picture in its 8-bit form.
constexpr tmsize_t kMaximumAllocation = static_cast<tmsize_t>(kMaximumPixels) * 4;

struct FreeOptions {
  void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

TiffFile& self(void* handle) { return *static_cast<TiffFile*>(handle); }

}  // namespace

TiffFile::TiffFile(ByteView file) : bytes_(file) {
  const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
  if (options == nullptr) return;
  TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kMaximumAllocation);
  TIFFOpenOptionsSetErrorHandlerExtR(options.get(), onError, this);
  TIFFOpenOptionsSetWarningHandlerExtR(options.get(), onWarning, this);
  tiff_.reset(TIFFClientOpenExt("", "r", this, read, write, seek, close, sizeOf, map, unmap, options.get()));
}

tmsize_t TiffFile::read(thandle_t handle, void* destination, tmsize_t size) {
  TiffFile& file = self(handle);
  if (size <= 0 || file.position_ >= file.bytes_.size()) return 0;
  const ByteView rest = file.bytes_.subspan(static_cast<std::size_t>(file.position_));
  const std::size_t taken = std::min(rest.size(), static_cast<std::size_t>(size));
  std::memcpy(destination, rest.data(), taken);
  file.position_ += taken;
  return static_cast<tmsize_t>(taken);
}

tmsize_t TiffFile::write(thandle_t, void*, tmsize_t) { return 0; }

toff_t TiffFile::seek(thandle_t handle, toff_t offset, int origin) {
  TiffFile& file = self(handle);
  // A step backwards arrives as a huge unsigned number; the sum wraps around to what was meant.
  if (origin == SEEK_SET) file.position_ = offset;
  if (origin == SEEK_CUR) file.position_ += offset;
  if (origin == SEEK_END) file.position_ = file.bytes_.size() + offset;
  return file.position_;
}

int TiffFile::close(thandle_t) { return 0; }

toff_t TiffFile::sizeOf(thandle_t handle) { return self(handle).bytes_.size(); }

int TiffFile::map(thandle_t handle, void** base, toff_t* size) {
  const ByteView bytes = self(handle).bytes_;
  // The library only ever reads from a mapping of a file that was opened for reading.
  *base = const_cast<std::uint8_t*>(bytes.data());
  *size = bytes.size();
  return 1;
}

void TiffFile::unmap(thandle_t, void*, toff_t) {}

int TiffFile::onError(TIFF*, void* handle, const char*, const char*, va_list) {
  self(handle).hasErrors_ = true;
  return 1;
}

int TiffFile::onWarning(TIFF*, void* handle, const char* module, const char*, va_list) {
  // These decoders go on after damage with samples of their own making; the other warnings are about tags.
  const std::string_view source = module == nullptr ? "" : module;
  if (source == "JPEGLib" || source == "LibJpeg" || source.starts_with("Fax")) self(handle).hasErrors_ = true;
  return 1;
}

}  // namespace quellor::tiff
