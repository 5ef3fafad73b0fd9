#include "Frames.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstdint>

namespace tv {
namespace {

constexpr std::size_t HEAD = 5;
constexpr std::uint32_t LONGEST = 64U << 20U;

bool sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno == EINTR) continue;
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool receiveAll(int socket, char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t got = recv(socket, bytes, count, 0);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    bytes += got;
    count -= static_cast<std::size_t>(got);
  }
  return true;
}

}  // namespace

bool sendFrame(int socket, Frame::Kind kind, std::string_view bytes) {
  if (bytes.size() > LONGEST) return false;
  const auto length = static_cast<std::uint32_t>(bytes.size());
  std::string whole{static_cast<char>(kind)};
  for (const unsigned shift : {24U, 16U, 8U, 0U}) whole += static_cast<char>(length >> shift & 0xFFU);
  return sendAll(socket, whole.append(bytes));
}

std::optional<Frame> receiveFrame(int socket) {
  std::array<char, HEAD> head{};
  if (!receiveAll(socket, head.data(), head.size())) return std::nullopt;
  std::uint32_t length = 0;
  for (std::size_t i = 1; i < HEAD; ++i) length = length << 8U | static_cast<unsigned char>(head[i]);
  if (length > LONGEST) return std::nullopt;
  Frame frame{head[0], std::string(length, '\0')};
  if (!receiveAll(socket, frame.bytes.data(), length)) return std::nullopt;
  return frame;
}

HandOnBuffer::int_type HandOnBuffer::overflow(int_type character) {
  if (!traits_type::eq_int_type(character, traits_type::eof())) _pending += traits_type::to_char_type(character);
  return traits_type::not_eof(character);
}

std::streamsize HandOnBuffer::xsputn(const char* bytes, std::streamsize count) {
  _pending.append(bytes, static_cast<std::size_t>(count));
  return count;
}

int HandOnBuffer::sync() {
  if (_pending.empty()) return 0;
  const bool taken = _take(_pending);
  _pending.clear();
  return taken ? 0 : -1;
}

}  // namespace tv
