#include "apps/broadcaster/media/Encoder.h"

#include <new>
#include <stdexcept>
#include <string>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/dict.h>
#include <libavutil/log.h>
}

namespace broadcaster {
namespace {

void check(int result, const char* what) {
  if (result >= 0) return;
  char reason[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(result, reason, sizeof reason);
  throw std::runtime_error(std::string(what) + ": " + reason);
}

Ticks ticks(std::int64_t time, AVRational base) {
  return Ticks(av_rescale_q(time, base, AVRational{1, static_cast<int>(Ticks::period::den)}));
}

}  // namespace

void Encoder::Free::operator()(AVCodecContext* context) const {
  avcodec_free_context(&context);
}
void Encoder::Free::operator()(AVFrame* frame) const {
  av_frame_free(&frame);
}
void Encoder::Free::operator()(AVPacket* packet) const {
  av_packet_free(&packet);
}

bool Encoder::exists(const char* name) {
  return avcodec_find_encoder_by_name(name) != nullptr;
}

Encoder::Encoder(std::initializer_list<const char*> names) : _packet(av_packet_alloc()) {
  av_log_set_level(AV_LOG_ERROR);
  const AVCodec* codec = nullptr;
  for (const char* name : names) {
    if (codec == nullptr) codec = avcodec_find_encoder_by_name(name);
  }
  if (codec == nullptr) throw std::runtime_error(std::string("libavcodec lacks the encoder ") + *names.begin());
  _context.reset(avcodec_alloc_context3(codec));
  if (_context == nullptr || _packet == nullptr) throw std::bad_alloc();
  _context->flags |= AV_CODEC_FLAG_BITEXACT;
  _context->thread_count = 1;
}

void Encoder::open(std::initializer_list<std::pair<const char*, const char*>> options) {
  AVDictionary* dictionary = nullptr;
  for (const auto& [key, value] : options) av_dict_set(&dictionary, key, value, 0);
  const int result = avcodec_open2(_context.get(), nullptr, &dictionary);
  av_dict_free(&dictionary);
  check(result, "cannot open an encoder");
}

AVFrame& Encoder::newFrame() {
  _frame.reset(av_frame_alloc());
  if (_frame == nullptr) throw std::bad_alloc();
  if (_context->codec_type == AVMEDIA_TYPE_VIDEO) {
    _frame->format = _context->pix_fmt;
    _frame->width = _context->width;
    _frame->height = _context->height;
  } else {
    _frame->format = _context->sample_fmt;
    _frame->nb_samples = _context->frame_size;
    _frame->sample_rate = _context->sample_rate;
    check(av_channel_layout_copy(&_frame->ch_layout, &_context->ch_layout), "cannot set up a frame");
  }
  check(av_frame_get_buffer(_frame.get(), 0), "cannot set up a frame");
  return *_frame;
}

void Encoder::send() {
  check(avcodec_send_frame(_context.get(), _frame.get()), "cannot encode");
}

void Encoder::finish() {
  check(avcodec_send_frame(_context.get(), nullptr), "cannot encode");
}

std::optional<AccessUnit> Encoder::receive() {
  const int result = avcodec_receive_packet(_context.get(), _packet.get());
  if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return std::nullopt;
  check(result, "cannot encode");
  AccessUnit unit;
  unit.presentation = ticks(_packet->pts, _context->time_base);
  unit.decoding = ticks(_packet->dts, _context->time_base);
  unit.randomAccess = (_packet->flags & AV_PKT_FLAG_KEY) != 0;
  unit.data.assign(_packet->data, _packet->data + _packet->size);
  av_packet_unref(_packet.get());
  return unit;
}

}  // namespace broadcaster
