#include "apps/broadcaster/si/Tables.h"

#include "apps/broadcaster/si/Descriptors.h"
#include "apps/broadcaster/ts/Packet.h"
#include "apps/broadcaster/ts/Section.h"

namespace broadcaster {
namespace {

/// Coding of an elementary stream (ISO/IEC 13818-1 table 2-34).
constexpr std::uint64_t MPEG2_VIDEO = 0x02;
constexpr std::uint64_t MPEG1_AUDIO = 0x03;
constexpr std::uint64_t PRIVATE_SECTIONS = 0x05;
constexpr std::uint64_t PRIVATE_PES = 0x06;
constexpr std::uint64_t H264_VIDEO = 0x1B;

template <class Descriptors>
void putStream(ByteWriter& writer, std::uint64_t coding, std::uint16_t packetId, Descriptors descriptors) {
  writer.u8(coding);
  writer.u16(0xE000U | packetId);
  writer.sized12(0xF, descriptors);
}

/// The identifiers of pictures and sound before and after a relocation.
std::uint16_t videoPid(const ServicePids& pids, bool relocated) {
  return relocated ? pids.laterVideo() : pids.video();
}
std::uint16_t audioPid(const ServicePids& pids, std::size_t track, bool relocated) {
  return relocated ? pids.laterAudio(track) : pids.audio(track);
}

/// The clock travels with the pictures, else with the sound.
std::uint16_t clockPid(const Service& service, const ServicePids& pids, bool relocated) {
  if (service.video) return videoPid(pids, relocated);
  return service.audio.empty() ? pid::NONE : audioPid(pids, 0, relocated);
}

void putAudio(ByteWriter& writer, const Audio& audio, std::uint16_t packetId, std::uint64_t componentTag) {
  const bool isAc3 = audio.codec == AudioCodec::Ac3;
  putStream(writer, isAc3 ? PRIVATE_PES : MPEG1_AUDIO, packetId, [&] {
    descriptor::streamIdentifier(writer, componentTag);
    descriptor::language(writer, audio.language);
    if (isAc3) descriptor::ac3(writer);
  });
}

}  // namespace

Bytes programAssociation(const Multiplex& multiplex) {
  ByteWriter body;
  body.u16(0);  // programme 0 stands for the network information
  body.u16(0xE000U | pid::NIT);
  for (std::size_t i = 0; i < multiplex.services.size(); ++i) {
    body.u16(multiplex.services[i].id);
    body.u16(0xE000U | ServicePids(i).pmt);
  }
  return makeSection({.tableId = 0x00, .extension = multiplex.transportStream}, body.get());
}

Bytes programMap(const Multiplex& multiplex, std::size_t index, bool relocated) {
  const Service& service = multiplex.services.at(index);
  const ServicePids pids(index);
  ByteWriter body;
  body.u16(0xE000U | clockPid(service, pids, relocated));
  body.sized12(0xF, [&] {
    if (service.isProtected) descriptor::conditionalAccess(body, pids.entitlements());
  });
  std::uint64_t componentTag = 1;
  if (service.video) {
    putStream(body, service.video->codec == VideoCodec::H264 ? H264_VIDEO : MPEG2_VIDEO, videoPid(pids, relocated),
              [&] { descriptor::streamIdentifier(body, componentTag++); });
  }
  for (std::size_t track = 0; track < service.audio.size(); ++track) {
    putAudio(body, service.audio[track], audioPid(pids, track, relocated), componentTag++);
  }
  for (std::size_t track = 0; track < service.subtitles.size(); ++track) {
    putStream(body, PRIVATE_PES, pids.subtitles(track), [&] {
      descriptor::streamIdentifier(body, componentTag++);
      descriptor::subtitling(body, service.subtitles[track]);
    });
  }
  if (service.hasTeletext) {
    putStream(body, PRIVATE_PES, pids.teletext(), [&] {
      descriptor::streamIdentifier(body, componentTag++);
      descriptor::teletext(body, service.language, 0x100, 0x888);
    });
  }
  if (service.type == ServiceType::Data) {
    putStream(body, PRIVATE_SECTIONS, pids.data(), [&] { descriptor::streamIdentifier(body, componentTag++); });
  }
  const std::uint8_t version = relocated ? 1 : 0;
  return makeSection({.tableId = 0x02, .extension = service.id, .version = version}, body.get());
}

Bytes engineeringData(const Service& service) {
  ByteWriter body;
  body.text("transmitter test data");
  return makeSection({.tableId = 0x80, .extension = service.id}, body.get());
}

Bytes networkInformation(const Network& network) {
  ByteWriter body;
  body.sized12(0xF, [&] { descriptor::networkName(body, network.name); });
  body.sized12(0xF, [&] {
    for (const Multiplex& multiplex : network.multiplexes) {
      body.u16(multiplex.transportStream);
      body.u16(network.id);
      body.sized12(0xF, [&] {
        descriptor::serviceList(body, multiplex);
        descriptor::terrestrialDelivery(body, multiplex.frequency);
        descriptor::logicalChannels(body, multiplex);
      });
    }
  });
  return makeSection({.tableId = 0x40, .extension = network.id}, body.get());
}

Bytes serviceDescription(const Network& network, const Multiplex& multiplex, const Multiplex& own) {
  ByteWriter body;
  body.u16(network.id);
  body.u8(0xFF);
  for (const Service& service : multiplex.services) {
    body.u16(service.id);
    body.u8(service.programmes.empty() ? 0xFC : 0xFF);  // EIT_schedule_flag, EIT_present_following_flag
    body.sized12(service.isProtected ? 0x9 : 0x8,       // running_status: running; free_CA_mode
                 [&] { descriptor::service(body, service, network.provider); });
  }
  const std::uint8_t table = &multiplex == &own ? 0x42 : 0x46;
  return makeSection({.tableId = table, .extension = multiplex.transportStream}, body.get());
}

Bytes timeAndDate(Moment now) {
  ByteWriter body;
  writeUtc(body, now);
  return makeShortSection(0x70, body.get(), false);
}

Bytes timeOffset(Moment now, std::string_view countryCode) {
  ByteWriter body;
  writeUtc(body, now);
  body.sized12(0xF, [&] { descriptor::localTimeOffset(body, now, countryCode); });
  return makeShortSection(0x73, body.get(), true);
}

}  // namespace broadcaster
