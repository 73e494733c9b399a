#pragma once
#include <cstddef>
#include <cstdint>

/// The seam between the program and x265: a loadable module of its own, because x265 is under the GPL and slow to load.
/// What crosses the seam is plain data.
namespace quellor {

/// One of the encoder's own settings, by the name that its command line has for it.
struct HevcEncoderOption {
  const char* name = nullptr;
  const char* value = nullptr;
};

/// A picture and how it is to be encoded. The planes are only read.
struct HevcEncoderJob {
  std::uint32_t width = 0;  // even, as is the height
  std::uint32_t height = 0;
  int bits = 8;       // 8 or 10; above 8 a sample takes two bytes
  bool grey = false;  // one plane; else Y, Cb and Cr in 4:2:0
  const std::uint8_t* planes[3] = {};
  std::size_t strideBytes[3] = {};
  const char* preset = nullptr;
  const char* tuning = nullptr;
  const char* profile = nullptr;
  const HevcEncoderOption* options = nullptr;  // applied in their order, after the three above
  std::size_t optionCount = 0;
  // Null, or what is added to the quantization parameter of each block of 16 x 16 luma samples, row by row; parts of
  // blocks count. Needs adaptive quantization, which averages it over the blocks of a quantization group.
  const float* quantizationOffsets = nullptr;
};

/// Takes a NAL unit, header included, without its start code. Does not throw; false to stop.
using TakeHevcUnit = bool (*)(void* receiver, const std::uint8_t* unit, std::size_t size);

/// The function that the encoder's module exports.
struct HevcEncoder {
  std::uint32_t version = 0;  // kHevcEncoderVersion of the sources that the module was built from

  /// Encodes one picture: hands its parameter sets and slices to `take` in their order, nothing else. False when x265
  /// refuses an option or fails, or when `take` is false. x265 waits for ever for a thread that it cannot start: the
  /// caller sees to it that there are enough.
  bool (*encode)(const HevcEncoderJob* job, TakeHevcUnit take, void* receiver) noexcept = nullptr;
};

inline constexpr std::uint32_t kHevcEncoderVersion = 2;

/// Name of the module, and of the function with C linkage by which it hands out its table: `const HevcEncoder* ()`.
inline constexpr const char* kHevcEncoderModule = "hevc-encoder";
inline constexpr const char* kHevcEncoderEntry = "quellorHevcEncoder";

}  // namespace quellor
