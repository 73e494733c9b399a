#pragma once
#include <cstdint>
#include <memory>
#include <optional>

#include <tiffio.h>

#include "platform/values/bytes.h"

namespace quellor::tiff {

/// A TIFF file in memory, opened by the library at its first directory. Nothing is printed anywhere.
///
/// The library holds its address, so it never moves. The bytes outlive it.
class TiffFile {
 public:
  explicit TiffFile(ByteView file);
  TiffFile(const TiffFile&) = delete;
  TiffFile& operator=(const TiffFile&) = delete;
  TiffFile(TiffFile&&) = delete;
  TiffFile& operator=(TiffFile&&) = delete;
  ~TiffFile() = default;

  [[nodiscard]] bool isOpen() const { return tiff_ != nullptr; }
  [[nodiscard]] TIFF* get() const { return tiff_.get(); }
  [[nodiscard]] std::uint64_t size() const { return bytes_.size(); }

  /// The value of a tag of the current directory that the library keeps as one value of type T.
  template <typename T>
  [[nodiscard]] std::optional<T> field(std::uint32_t tag) const {
    T value{};
    if (TIFFGetField(get(), tag, &value) != 1) return std::nullopt;
    return value;
  }

  /// The same, or the tag's default value when the directory does not have it.
  template <typename T>
  [[nodiscard]] T fieldOrDefault(std::uint32_t tag) const {
    T value{};
    return TIFFGetFieldDefaulted(get(), tag, &value) == 1 ? value : T{};
  }

  /// Whether the library has reported an error since the last call of clearErrors(). Some decoders give made-up samples
  /// instead of damaged ones, return success and only report it.
  [[nodiscard]] bool hasErrors() const { return hasErrors_; }
  void clearErrors() { hasErrors_ = false; }

 private:
  struct Close {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
  };

  static tmsize_t read(thandle_t self, void* destination, tmsize_t size);
  static tmsize_t write(thandle_t self, void* source, tmsize_t size);
  static toff_t seek(thandle_t self, toff_t offset, int origin);
  static int close(thandle_t self);
  static toff_t sizeOf(thandle_t self);
  static int map(thandle_t self, void** base, toff_t* size);
  static void unmap(thandle_t self, void* base, toff_t size);
  static int onError(TIFF* tiff, void* self, const char* module, const char* format, va_list arguments);
  static int onWarning(TIFF* tiff, void* self, const char* module, const char* format, va_list arguments);

  ByteView bytes_;
  std::uint64_t position_ = 0;
  bool hasErrors_ = false;
  std::unique_ptr<TIFF, Close> tiff_;  // last: closing it still calls into the others
};

}  // namespace quellor::tiff
