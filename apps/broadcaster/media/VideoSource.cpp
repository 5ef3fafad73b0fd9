#include "apps/broadcaster/media/VideoSource.h"

#include <algorithm>
#include <numeric>

extern "C" {
#include <libavcodec/avcodec.h>
}

namespace broadcaster {
namespace {

constexpr const char* H264_ENCODER = "libx264";

/// Width to height of one pixel of a 16:9 picture.
AVRational pixelAspect(const Video& video) {
  const int common = std::gcd(16 * video.height, 9 * video.width);
  return {16 * video.height / common, 9 * video.width / common};
}

Encoder makeEncoder(const Video& video) {
  const bool h264 = video.codec == VideoCodec::H264;
  Encoder encoder{h264 ? H264_ENCODER : "mpeg2video"};
  AVCodecContext& context = encoder.context();
  context.width = video.width;
  context.height = video.height;
  context.pix_fmt = AV_PIX_FMT_YUV420P;
  context.time_base = {1, TestPicture::PER_SECOND};
  context.framerate = {TestPicture::PER_SECOND, 1};
  context.sample_aspect_ratio = pixelAspect(video);
  const bool hd = video.height > 576;
  context.colorspace = hd ? AVCOL_SPC_BT709 : AVCOL_SPC_BT470BG;
  context.color_primaries = hd ? AVCOL_PRI_BT709 : AVCOL_PRI_BT470BG;
  context.color_trc = AVCOL_TRC_BT709;
  context.color_range = AVCOL_RANGE_MPEG;
  context.gop_size = TestPicture::PER_SECOND;  // decoding can begin each second
  context.max_b_frames = h264 ? 2 : 0;
  context.flags |= static_cast<int>(AV_CODEC_FLAG_CLOSED_GOP);  // so that the end of a file joins its beginning
  context.bit_rate = video.bitRate;
  context.rc_max_rate = video.bitRate;
  context.rc_buffer_size = video.bitRate;                   // one second
  context.rc_initial_buffer_occupancy = video.bitRate / 2;  // the first second is not much more than the others
  if (h264) {
    // ITU-T H.222.0, 2.14.1 wants access unit delimiters.
    encoder.open({{"preset", "ultrafast"}, {"x264-params", "aud=1:scenecut=0"}});
  } else {
    encoder.open({{"sc_threshold", "1000000000"},
                  {"motion_est", "zero"}});  // no scene changes: the groups of pictures are closed
  }
  return encoder;
}

void copyPlane(const std::vector<std::uint8_t>& plane, int width, std::uint8_t* to, int stride) {
  for (auto row = plane.begin(); row != plane.end(); row += width, to += stride) std::copy_n(row, width, to);
}

}  // namespace

bool canEncodeH264() {
  return Encoder::exists(H264_ENCODER);
}

VideoSource::VideoSource(const Service& service, Moment start, std::int64_t pictures)
    : _pictures(service, start), _encoder(makeEncoder(*service.video)), _count(pictures) {}

void VideoSource::sendPicture() {
  const Picture& picture = _pictures.draw(_sent);
  AVFrame& frame = _encoder.newFrame();
  frame.pts = _sent++;
  copyPlane(picture.luminance(), picture.width(), frame.data[0], frame.linesize[0]);
  copyPlane(picture.blueDifference(), picture.width() / 2, frame.data[1], frame.linesize[1]);
  copyPlane(picture.redDifference(), picture.width() / 2, frame.data[2], frame.linesize[2]);
  _encoder.send();
}

std::optional<AccessUnit> VideoSource::next() {
  while (true) {
    if (std::optional<AccessUnit> unit = _encoder.receive()) return unit;
    if (_finished) return std::nullopt;
    if (_sent < _count) {
      sendPicture();
    } else {
      _encoder.finish();
      _finished = true;
    }
  }
}

}  // namespace broadcaster
