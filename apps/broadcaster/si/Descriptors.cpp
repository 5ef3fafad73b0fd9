#include "apps/broadcaster/si/Descriptors.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace broadcaster::descriptor {
namespace {

template <class Body>
void put(ByteWriter& writer, std::uint64_t tag, Body body) {
  writer.u8(tag);
  writer.sized8(body);
}

void putText(ByteWriter& writer, std::string_view text) {
  writer.sized8([&] { writer.text(text); });
}

/// Private data of EACEM: the specifier that TS 101 162 registers for it, and the logical channel descriptor that
/// receivers in most of Europe read after it (IEC 62216, 9.2.11.2).
constexpr std::uint64_t EACEM_SPECIFIER = 0x00000028;
constexpr std::uint64_t EACEM_LOGICAL_CHANNEL = 0x83;

/// A system of the range that TS 101 162 keeps for standardised systems, hence of nobody.
constexpr std::uint64_t CA_SYSTEM = 0x0001;

}  // namespace

void networkName(ByteWriter& writer, std::string_view name) {
  put(writer, 0x40, [&] { writer.text(encodeText(name, Charset::Iso6937)); });
}

void serviceList(ByteWriter& writer, const Multiplex& multiplex) {
  put(writer, 0x41, [&] {
    for (const Service& service : multiplex.services) {
      writer.u16(service.id);
      writer.u8(static_cast<std::uint64_t>(service.type));
    }
  });
}

void terrestrialDelivery(ByteWriter& writer, std::uint32_t frequency) {
  put(writer, 0x5A, [&] {
    writer.u32(frequency / 10);
    writer.u8(0x1F);  // 8 MHz, high priority, neither time slicing nor MPE-FEC
    writer.u8(0x00);  // QPSK, no hierarchy, code rate 1/2
    writer.u8(0x1A);  // code rate of the low priority stream 1/2, guard interval 1/4, 8k, no other frequency
    writer.u32(0xFFFFFFFF);
  });
}

void logicalChannels(ByteWriter& writer, const Multiplex& multiplex) {
  put(writer, 0x5F, [&] { writer.u32(EACEM_SPECIFIER); });
  put(writer, EACEM_LOGICAL_CHANNEL, [&] {
    for (const Service& service : multiplex.services) {
      writer.u16(service.id);
      writer.u16((service.visible ? 0xFC00U : 0x7C00U) | service.number);
    }
  });
}

void service(ByteWriter& writer, const Service& service, std::string_view provider) {
  put(writer, 0x48, [&] {
    writer.u8(static_cast<std::uint64_t>(service.type));
    putText(writer, encodeText(provider, Charset::Iso6937));
    putText(writer, encodeText(service.name, service.charset));
  });
}

void shortEvent(ByteWriter& writer, const Service& service, const Programme& programme) {
  constexpr std::size_t ROOM = 255 - 3 - 2;
  std::string_view titleLeft = programme.title;
  std::string_view textLeft = programme.text;
  const std::string title = takePiece(titleLeft, service.charset, ROOM);
  const std::string text = takePiece(textLeft, service.charset, ROOM - title.size());
  put(writer, 0x4D, [&] {
    writer.text(service.language);
    putText(writer, title);
    putText(writer, text);
  });
}

void extendedEvent(ByteWriter& writer, const Service& service, const Programme& programme) {
  constexpr std::size_t ROOM = 255 - 1 - 3 - 2;
  constexpr std::size_t MOST = 16;
  std::vector<std::string> pieces;
  for (std::string_view left = programme.details; !left.empty() && pieces.size() < MOST;) {
    pieces.push_back(takePiece(left, service.charset, ROOM));
  }
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    put(writer, 0x4E, [&] {
      writer.u8(i << 4 | (pieces.size() - 1));
      writer.text(service.language);
      writer.u8(0);  // no items
      putText(writer, pieces[i]);
    });
  }
}

void content(ByteWriter& writer, const Programme& programme) {
  put(writer, 0x54, [&] {
    writer.u8(programme.genre);
    writer.u8(0);
  });
}

void parentalRating(ByteWriter& writer, const Programme& programme, std::string_view countryCode) {
  if (programme.age == 0) return;
  put(writer, 0x55, [&] {
    writer.text(countryCode);
    writer.u8(programme.age - 3U);  // table 90
  });
}

void localTimeOffset(ByteWriter& writer, Moment now, std::string_view countryCode) {
  const std::optional<Moment> found = nextOffsetChange(now);
  // The fields must say something where the clock is never changed: the same offset, and a time that can be said.
  const Moment change = found.value_or(std::min(now + std::chrono::days(365), LAST_MOMENT));
  const auto putOffset = [&](std::chrono::minutes offset) {
    const std::chrono::hh_mm_ss parts(std::chrono::abs(offset));
    writer.u8(decimalDigits(parts.hours().count()));
    writer.u8(decimalDigits(parts.minutes().count()));
  };
  put(writer, 0x58, [&] {
    writer.text(countryCode);
    writer.u8(localOffset(now) < std::chrono::minutes(0) ? 0x03 : 0x02);  // region 0: the whole country
    putOffset(localOffset(now));
    writeUtc(writer, change);
    putOffset(localOffset(change));
  });
}

void streamIdentifier(ByteWriter& writer, std::uint64_t componentTag) {
  put(writer, 0x52, [&] { writer.u8(componentTag); });
}

void language(ByteWriter& writer, std::string_view code) {
  put(writer, 0x0A, [&] {
    writer.text(code);
    writer.u8(0);  // audio type: not said
  });
}

void ac3(ByteWriter& writer) {
  put(writer, 0x6A, [&] {
    writer.u8(0x80);  // the component type alone
    writer.u8(0x42);  // a full service, complete main sound, stereo (table D.1)
  });
}

void subtitling(ByteWriter& writer, std::string_view language) {
  put(writer, 0x59, [&] {
    writer.text(language);
    writer.u8(0x12);  // 16:9 (table 26)
    writer.u16(1);    // composition and ancillary page
    writer.u16(1);
  });
}

void teletext(ByteWriter& writer, std::string_view language, std::uint16_t initialPage, std::uint16_t subtitlePage) {
  constexpr unsigned INITIAL = 1;  // table 100
  constexpr unsigned SUBTITLES = 2;
  put(writer, 0x56, [&] {
    for (const auto& [type, page] : {std::pair(INITIAL, initialPage), std::pair(SUBTITLES, subtitlePage)}) {
      writer.text(language);
      writer.u8(type << 3 | (page >> 8 & 7U));  // magazine 8 is sent as 0
      writer.u8(page & 0xFFU);
    }
  });
}

void conditionalAccess(ByteWriter& writer, std::uint16_t entitlementPid) {
  put(writer, 0x09, [&] {
    writer.u16(CA_SYSTEM);
    writer.u16(0xE000U | entitlementPid);
  });
}

}  // namespace broadcaster::descriptor
