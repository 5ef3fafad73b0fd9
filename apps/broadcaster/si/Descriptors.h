#pragma once

#include <cstdint>
#include <string_view>

#include "apps/broadcaster/Lineup.h"
#include "apps/broadcaster/Programmes.h"
#include "apps/broadcaster/si/Times.h"
#include "apps/broadcaster/ts/Bytes.h"

// Each function appends one descriptor of EN 300 468, clause 6.2, or of ISO/IEC 13818-1, clause 2.6, with its tag.
namespace broadcaster::descriptor {

void networkName(ByteWriter& writer, std::string_view name);
/// The services of a multiplex with their types.
void serviceList(ByteWriter& writer, const Multiplex& multiplex);
/// An 8 MHz channel with QPSK 1/2, which carries 4.98 Mbit/s (EN 300 744 annex A).
void terrestrialDelivery(ByteWriter& writer, std::uint32_t frequency);
/// The logical channel numbers of a multiplex, with the private data specifier that they need.
void logicalChannels(ByteWriter& writer, const Multiplex& multiplex);

void service(ByteWriter& writer, const Service& service, std::string_view provider);

/// Title and short text, cut to what one descriptor holds.
void shortEvent(ByteWriter& writer, const Service& service, const Programme& programme);
/// The details over as many descriptors as they need; none without details.
void extendedEvent(ByteWriter& writer, const Service& service, const Programme& programme);
void content(ByteWriter& writer, const Programme& programme);
/// Nothing when the programme is for everybody.
void parentalRating(ByteWriter& writer, const Programme& programme, std::string_view countryCode);

void localTimeOffset(ByteWriter& writer, Moment now, std::string_view countryCode);

void streamIdentifier(ByteWriter& writer, std::uint64_t componentTag);
void language(ByteWriter& writer, std::string_view code);
/// Two channels of AC-3 (EN 300 468 annex D.3).
void ac3(ByteWriter& writer);
/// DVB subtitles for pictures of 16:9.
void subtitling(ByteWriter& writer, std::string_view language);
/// An initial page and one of subtitles, their digits as they are written: 0x100 to 0x8FF.
void teletext(ByteWriter& writer, std::string_view language, std::uint16_t initialPage, std::uint16_t subtitlePage);
void conditionalAccess(ByteWriter& writer, std::uint16_t entitlementPid);

}  // namespace broadcaster::descriptor
