#include "tests/support/tiff_fixture.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>

#include <tiffio.h>

namespace quellor::test_support {
namespace {

void append(Bytes& bytes, std::uint64_t value, std::size_t size, bool bigEndian) {
  for (std::size_t i = 0; i < size; ++i) {
    const std::size_t shift = 8 * (bigEndian ? size - 1 - i : i);
    bytes.push_back(static_cast<std::uint8_t>(value >> shift));
  }
}

std::size_t sizeOfType(TiffType type) {
  switch (type) {
    case TiffType::shortInteger:
      return 2;
    case TiffType::longInteger:
    case TiffType::rational:  // of each of its two numbers
      return 4;
    default:
      return 1;
  }
}

Bytes valueBytes(const TiffEntry& entry, bool bigEndian) {
  Bytes bytes;
  for (const std::uint32_t value : entry.values) append(bytes, value, sizeOfType(entry.type), bigEndian);
  return bytes;
}

class Writer {
 public:
  explicit Writer(TiffForm form) : form_(form) {}

  Bytes write(std::vector<TiffPage> pages) {
    writeHeader();
    if (!form_.samplesLast) {
      for (TiffPage& page : pages) placeChunks(page, file_.size(), true);
    } else {
      // The directories keep their size whatever the numbers are: a first round tells where they end.
      Writer trial({form_.bigEndian, form_.bigTiff, false, form_.behindHeader});
      std::vector<TiffPage> bare = pages;
      for (TiffPage& page : bare) {
        for (Bytes& chunk : page.chunks) chunk.clear();
      }
      std::size_t offset = trial.write(std::move(bare)).size();
      for (TiffPage& page : pages) offset = placeChunks(page, offset, false);
    }
    for (TiffPage& page : pages) {
      writeSubdirectories(page);
      putAt(nextPointer_, file_.size() + sizeOfValuesOf(page));
      writeDirectory(page);
    }
    if (form_.samplesLast) {
      for (const TiffPage& page : pages) writeChunks(page);
    }
    return std::move(file_);
  }

 private:
  [[nodiscard]] std::size_t offsetSize() const { return form_.bigTiff ? 8 : 4; }

  void put(std::uint64_t value, std::size_t size) { append(file_, value, size, form_.bigEndian); }

  void putAt(std::size_t position, std::uint64_t value) {
    Bytes bytes;
    append(bytes, value, offsetSize(), form_.bigEndian);
    std::copy(bytes.begin(), bytes.end(), file_.begin() + static_cast<std::ptrdiff_t>(position));
  }

  void writeHeader() {
    file_.assign(2, form_.bigEndian ? 'M' : 'I');
    put(form_.bigTiff ? 43 : 42, 2);
    if (form_.bigTiff) put(8, 2), put(0, 2);
    nextPointer_ = file_.size();
    put(0, offsetSize());
    file_.insert(file_.end(), form_.behindHeader.begin(), form_.behindHeader.end());
  }

  void writeSubdirectories(TiffPage& page) {
    if (page.subdirectories.empty()) return;
    TiffEntry pointers{330, TiffType::longInteger, {}};
    for (TiffPage& below : page.subdirectories) {
      writeSubdirectories(below);
      placeChunks(below, file_.size(), true);
      pointers.values.push_back(static_cast<std::uint32_t>(file_.size() + sizeOfValuesOf(below)));
      const std::size_t nextPointer = nextPointer_;
      writeDirectory(below);
      nextPointer_ = nextPointer;
    }
    page.set(std::move(pointers));
  }

  /// Bytes that stand before the directory itself.
  [[nodiscard]] std::size_t sizeOfValuesOf(const TiffPage& page) const {
    std::size_t size = 0;
    for (const TiffEntry& entry : page.entries) {
      const std::size_t bytes = valueBytes(entry, form_.bigEndian).size();
      if (bytes > offsetSize()) size += bytes;
    }
    return size;
  }

  std::size_t placeChunks(TiffPage& page, std::size_t offset, bool now) {
    TiffEntry offsets{static_cast<std::uint16_t>(page.tiled ? 324 : 273), TiffType::longInteger, {}};
    TiffEntry counts{static_cast<std::uint16_t>(page.tiled ? 325 : 279), TiffType::longInteger, {}};
    for (const Bytes& chunk : page.chunks) {
      offsets.values.push_back(static_cast<std::uint32_t>(offset));
      counts.values.push_back(static_cast<std::uint32_t>(chunk.size()));
      offset += chunk.size();
    }
    page.set(offsets).set(counts);
    if (now) writeChunks(page);
    return offset;
  }

  void writeChunks(const TiffPage& page) {
    for (const Bytes& chunk : page.chunks) file_.insert(file_.end(), chunk.begin(), chunk.end());
  }

  void writeDirectory(const TiffPage& page) {
    std::vector<std::pair<Bytes, std::size_t>> fields;  // the bytes that stand in each entry, number of values
    for (const TiffEntry& entry : page.entries) {
      Bytes bytes = valueBytes(entry, form_.bigEndian);
      const std::size_t count = entry.values.size() / (entry.type == TiffType::rational ? 2 : 1);
      if (bytes.size() > offsetSize()) {
        Bytes place;
        append(place, file_.size(), offsetSize(), form_.bigEndian);
        file_.insert(file_.end(), bytes.begin(), bytes.end());
        bytes = std::move(place);
      }
      bytes.resize(offsetSize());
      fields.emplace_back(std::move(bytes), count);
    }
    put(fields.size(), form_.bigTiff ? 8 : 2);
    for (std::size_t i = 0; i < fields.size(); ++i) {
      put(page.entries[i].tag, 2);
      put(static_cast<std::uint16_t>(page.entries[i].type), 2);
      put(fields[i].second, offsetSize());
      file_.insert(file_.end(), fields[i].first.begin(), fields[i].first.end());
    }
    nextPointer_ = file_.size();
    put(0, offsetSize());
  }

  TiffForm form_;
  Bytes file_;
  std::size_t nextPointer_ = 0;
};

/// The samples of one rectangle; rows are padded to whole bytes, what lies outside the picture is 0.
struct Rectangle {
  std::uint32_t left = 0;
  std::uint32_t top = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

Bytes chunkOf(const TiffPicture& picture, const Rectangle& area, std::uint16_t firstSample, std::uint16_t sampleCount,
              bool bigEndian) {
  Bytes chunk;
  for (std::uint32_t y = area.top; y < area.top + area.height; ++y) {
    std::uint64_t pending = 0;
    unsigned pendingBits = 0;
    for (std::uint32_t x = area.left; x < area.left + area.width; ++x) {
      for (std::uint32_t s = firstSample; s < firstSample + std::uint32_t{sampleCount}; ++s) {
        const bool inside = x < picture.width && y < picture.height;
        const std::size_t index = (std::size_t{y} * picture.width + x) * picture.samples + s;
        const std::uint32_t value = inside ? picture.values.at(index) : 0;
        if (picture.bits % 8 == 0) {
          append(chunk, value, picture.bits / 8U, bigEndian);
          continue;
        }
        pending = pending << picture.bits | value;
        for (pendingBits += picture.bits; pendingBits >= 8; pendingBits -= 8) {
          chunk.push_back(static_cast<std::uint8_t>(pending >> (pendingBits - 8)));
        }
      }
    }
    if (pendingBits != 0) chunk.push_back(static_cast<std::uint8_t>(pending << (8 - pendingBits)));
  }
  return chunk;
}

TiffPage headOf(const TiffPicture& picture) {
  TiffPage page;
  page.set({256, TiffType::longInteger, {picture.width}});
  page.set({257, TiffType::longInteger, {picture.height}});
  page.set({258, TiffType::shortInteger, std::vector<std::uint32_t>(picture.samples, picture.bits)});
  page.set({259, TiffType::shortInteger, {1}});
  page.set({262, TiffType::shortInteger, {picture.photometric}});
  page.set({277, TiffType::shortInteger, {picture.samples}});
  page.set({284, TiffType::shortInteger, {picture.separate ? 2U : 1U}});
  if (!picture.extraSamples.empty()) page.set({338, TiffType::shortInteger, picture.extraSamples});
  return page;
}

// What the TIFF library needs to write into memory and to read it back.
struct Memory {
  Bytes bytes;
  std::size_t position = 0;
};

tmsize_t readMemory(thandle_t handle, void* data, tmsize_t size) {
  Memory& memory = *static_cast<Memory*>(handle);
  const std::size_t left = memory.bytes.size() - std::min(memory.position, memory.bytes.size());
  const std::size_t taken = std::min(left, static_cast<std::size_t>(size));
  if (taken != 0) std::memcpy(data, memory.bytes.data() + memory.position, taken);
  memory.position += taken;
  return static_cast<tmsize_t>(taken);
}

tmsize_t writeMemory(thandle_t handle, void* data, tmsize_t size) {
  Memory& memory = *static_cast<Memory*>(handle);
  const std::size_t end = memory.position + static_cast<std::size_t>(size);
  if (end > memory.bytes.size()) memory.bytes.resize(end);
  std::memcpy(memory.bytes.data() + memory.position, data, static_cast<std::size_t>(size));
  memory.position = end;
  return size;
}

toff_t seekMemory(thandle_t handle, toff_t offset, int origin) {
  Memory& memory = *static_cast<Memory*>(handle);
  const std::size_t base = origin == SEEK_SET ? 0 : origin == SEEK_CUR ? memory.position : memory.bytes.size();
  return memory.position = base + static_cast<std::size_t>(offset);
}

int closeMemory(thandle_t) { return 0; }

toff_t sizeOfMemory(thandle_t handle) { return static_cast<Memory*>(handle)->bytes.size(); }

struct Close {
  void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using Tiff = std::unique_ptr<TIFF, Close>;

Tiff open(Memory& memory, const char* mode) {
  return Tiff(TIFFClientOpen("", mode, &memory, readMemory, writeMemory, seekMemory, closeMemory, sizeOfMemory, nullptr,
                             nullptr));
}

}  // namespace

TiffPage& TiffPage::set(TiffEntry entry) {
  const auto place = std::lower_bound(entries.begin(), entries.end(), entry.tag,
                                      [](const TiffEntry& a, std::uint16_t tag) { return a.tag < tag; });
  if (place != entries.end() && place->tag == entry.tag) {
    *place = std::move(entry);
  } else {
    entries.insert(place, std::move(entry));
  }
  return *this;
}

Bytes tiffFile(std::vector<TiffPage> pages, TiffForm form) { return Writer(form).write(std::move(pages)); }

TiffPage tiffPage(const TiffPicture& picture, TiffForm form) {
  TiffPage page = headOf(picture);
  page.tiled = picture.tileSize != 0;
  const std::uint32_t chunkWidth = page.tiled ? picture.tileSize : picture.width;
  const std::uint32_t chunkHeight = page.tiled ? picture.tileSize : picture.rowsPerStrip;
  if (page.tiled) {
    page.set({322, TiffType::longInteger, {chunkWidth}}).set({323, TiffType::longInteger, {chunkHeight}});
  } else {
    page.set({278, TiffType::longInteger, {chunkHeight}});
  }
  const std::uint16_t perChunk = picture.separate ? std::uint16_t{1} : picture.samples;
  for (std::uint16_t sample = 0; sample < picture.samples; sample = static_cast<std::uint16_t>(sample + perChunk)) {
    for (std::uint32_t top = 0; top < picture.height; top += chunkHeight) {
      const std::uint32_t rows = page.tiled ? chunkHeight : std::min(chunkHeight, picture.height - top);
      for (std::uint32_t left = 0; left < picture.width; left += chunkWidth) {
        page.chunks.push_back(chunkOf(picture, {left, top, chunkWidth, rows}, sample, perChunk, form.bigEndian));
      }
    }
  }
  return page;
}

TiffPage compressedTiffPage(const TiffPicture& picture, std::uint16_t compression) {
  Memory memory;
  Tiff tiff = open(memory, "w");
  TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, picture.width);
  TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, picture.height);
  TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, int{picture.bits});
  TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, int{picture.samples});
  TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, int{picture.photometric});
  TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
  TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, (picture.height + 15) / 16 * 16);
  TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, int{compression});
  if (compression == COMPRESSION_JPEG) {
    TIFFSetField(tiff.get(), TIFFTAG_JPEGTABLESMODE, 0);
    TIFFSetField(tiff.get(), TIFFTAG_JPEGQUALITY, 95);
    if (picture.photometric == PHOTOMETRIC_YCBCR) {
      TIFFSetField(tiff.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
      TIFFSetField(tiff.get(), TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
    }
  }
  Bytes samples = chunkOf(picture, {0, 0, picture.width, picture.height}, 0, picture.samples, false);
  if (TIFFWriteEncodedStrip(tiff.get(), 0, samples.data(), static_cast<tmsize_t>(samples.size())) < 0) {
    throw std::runtime_error("the TIFF library does not write this picture");
  }
  tiff.reset();

  memory.position = 0;
  tiff = open(memory, "r");
  Bytes strip(static_cast<std::size_t>(TIFFRawStripSize(tiff.get(), 0)));
  TIFFReadRawStrip(tiff.get(), 0, strip.data(), static_cast<tmsize_t>(strip.size()));

  TiffPage page = headOf(picture);
  page.set({259, TiffType::shortInteger, {compression}});
  page.set({278, TiffType::longInteger, {(picture.height + 15) / 16 * 16}});
  if (picture.photometric == PHOTOMETRIC_YCBCR) page.set({530, TiffType::shortInteger, {1, 1}});
  page.chunks.push_back(std::move(strip));
  return page;
}

}  // namespace quellor::test_support
