#include "platform/formats/jpeg_session.h"

#include <algorithm>
#include <new>

#include <jerror.h>

#include "platform/values/big_endian.h"

namespace quellor::jpeg {
namespace {

/// The usual progressive scripts have about ten scans and the most elaborate encoders' stay below 64. Each scan
/// costs a pass over the whole image however few bytes it takes, so their number bounds the time of a decode.
constexpr int kMaximumScans = 100;

/// The library is handed its input in pieces that are too small for its fast Huffman decoder (512 bytes for each block
/// of an MCU), because that one takes a code that is not in the table for a zero and does not say so.
constexpr std::size_t kPieceSize = 500;

/// As many as the largest file that is read, 4 GiB, has room for when each is as long as it may be.
constexpr std::size_t kMaximumSegments = std::size_t{1} << 16;

constexpr Refusal kAnotherDepth{"samples of another depth than eight bits"};

Session& sessionOf(j_common_ptr info) { return *static_cast<Session*>(info->client_data); }
Session& sessionOf(j_decompress_ptr info) { return *static_cast<Session*>(info->client_data); }

void onError(j_common_ptr info) { sessionOf(info).fail(); }

void onOutput(j_common_ptr /*info*/) {}

/// Whether every coded sample is intact in spite of a warning. Anything that is not listed here, also what a later
/// version of the library may come to warn of, means samples that are missing, guessed or damaged: a bad Huffman or
/// arithmetic code, a marker amid the data, a lost restart marker, a scan left out of a progression.
bool isHarmless(const jpeg_error_mgr& errors) {
  switch (errors.msg_code) {
    case JWRN_ADOBE_XFORM:     // an unknown colour transform: read as YCbCr, as everybody does
    case JWRN_JFIF_MAJOR:      // an unknown revision of a segment that has no say in the coding
    case JWRN_NOT_SEQUENTIAL:  // spectral parameters of a sequential scan, which has no use for them
      return true;
    case JWRN_EXTRANEOUS_DATA: {
      // Padding that some cameras leave between segments or before the end. Before a restart marker it is a rest of
      // data that the interval should have used up: the samples decoded from it are wrong.
      const int marker = errors.msg_parm.i[1];
      return marker < JPEG_RST0 || marker > JPEG_RST0 + 7;
    }
    default:
      return false;
  }
}

void onMessage(j_common_ptr info, int level) {
  if (level < 0 && !isHarmless(*info->err)) sessionOf(info).fail();
}

void onSourceStartOrEnd(j_decompress_ptr /*info*/) {}

boolean onSourceEmpty(j_decompress_ptr info) {
  sessionOf(info).refill();
  return TRUE;
}

void onSkip(j_decompress_ptr info, long count) {
  if (count > 0) sessionOf(info).skip(static_cast<std::size_t>(count));
}

/// The library could keep copies of the segments itself (jpeg_save_markers). But its copies do not tell where a
/// segment stood, and the offsets of a multi-picture index count from there; nor is there a bound on their number, and
/// a copy of a segment of a few bytes takes a hundred.
boolean onSegment(j_decompress_ptr info) {
  sessionOf(info).takeSegment();
  return TRUE;
}

void onProgress(j_common_ptr info) {
  const auto* const decompress = reinterpret_cast<j_decompress_ptr>(info);
  if (decompress->input_scan_number > kMaximumScans) sessionOf(info).fail();
}

}  // namespace

Session::Session(ByteView file) : file_(file), rest_(file) {
  info_.err = jpeg_std_error(&errors_);
  info_.client_data = this;
  errors_.error_exit = onError;
  errors_.output_message = onOutput;
  errors_.emit_message = onMessage;
  source_.init_source = onSourceStartOrEnd;
  source_.fill_input_buffer = onSourceEmpty;
  source_.skip_input_data = onSkip;
  source_.resync_to_restart = jpeg_resync_to_restart;
  source_.term_source = onSourceStartOrEnd;
  progress_.progress_monitor = onProgress;
}

Session::~Session() { jpeg_destroy_decompress(&info_); }

void Session::refill() {
  if (rest_.empty()) fail();  // the whole file was there from the beginning: it ends too early
  const ByteView piece = rest_.first(std::min(rest_.size(), kPieceSize));
  rest_ = rest_.subspan(piece.size());
  source_.next_input_byte = piece.data();
  source_.bytes_in_buffer = piece.size();
}

void Session::skip(std::size_t count) {
  const std::size_t here = std::min(count, source_.bytes_in_buffer);
  source_.next_input_byte += here;
  source_.bytes_in_buffer -= here;
  if (count - here > rest_.size()) fail();
  rest_ = rest_.subspan(count - here);
}

void Session::takeSegment() {
  const ByteView behindMarker = file_.subspan(file_.size() - rest_.size() - source_.bytes_in_buffer);
  if (behindMarker.size() < 2) fail();
  // The library, too, takes a length that does not cover itself for one that does.
  const std::size_t length = std::max<std::size_t>(bigEndian16(behindMarker, 0), 2);
  if (length > behindMarker.size() || !keep({info_.unread_marker, behindMarker.subspan(2, length - 2)})) fail();
  skip(length);
}

bool Session::keep(const Segment& segment) noexcept {
  if (segments_.size() == kMaximumSegments) return false;
  try {
    segments_.push_back(segment);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

Refusal Session::headerRefusal() const {
  switch (errors_.msg_code) {
    case JERR_BAD_PRECISION:
      return kAnotherDepth;
    case JERR_SOF_UNSUPPORTED:
      return Refusal{"a coding process that is not read"};
    case JERR_IMAGE_TOO_BIG:
      return Refusal{"the image is too large"};
    default:
      return Refusal{"the header is broken or ends early"};
  }
}

Outcome<SampleModel> Session::sampleModel() const {
  if (info_.data_precision != 8) return kAnotherDepth;
  switch (info_.jpeg_color_space) {
    case JCS_GRAYSCALE:
      return SampleModel::grey;
    case JCS_RGB:
      return SampleModel::rgb;
    case JCS_YCbCr:
      return SampleModel::ycbcr;
    case JCS_CMYK:
    case JCS_YCCK:
      return SampleModel::cmyk;
    default:
      return Refusal{"the components mean no known color model"};
  }
}

bool Session::readHeader() {
  return run([this] {
    jpeg_create_decompress(&info_);
    info_.src = &source_;
    info_.progress = &progress_;
    for (const int number : {1, 2, 13}) jpeg_set_marker_processor(&info_, JPEG_APP0 + number, onSegment);
    if (jpeg_read_header(&info_, TRUE) != JPEG_HEADER_OK) fail();
  });
}

}  // namespace quellor::jpeg
