#pragma once

#include <cstdint>

namespace durix {

// ISO/IEC 13818-1, table 2-45.
inline constexpr std::uint8_t REGISTRATION_DESCRIPTOR = 0x05;
inline constexpr std::uint8_t CA_DESCRIPTOR = 0x09;
inline constexpr std::uint8_t LANGUAGE_DESCRIPTOR = 0x0A;

// EN 300 468, table 12.
inline constexpr std::uint8_t NETWORK_NAME_DESCRIPTOR = 0x40;
inline constexpr std::uint8_t SERVICE_LIST_DESCRIPTOR = 0x41;
inline constexpr std::uint8_t SATELLITE_DELIVERY_DESCRIPTOR = 0x43;
inline constexpr std::uint8_t CABLE_DELIVERY_DESCRIPTOR = 0x44;
inline constexpr std::uint8_t VBI_TELETEXT_DESCRIPTOR = 0x46;
inline constexpr std::uint8_t SERVICE_DESCRIPTOR = 0x48;
inline constexpr std::uint8_t SHORT_EVENT_DESCRIPTOR = 0x4D;
inline constexpr std::uint8_t EXTENDED_EVENT_DESCRIPTOR = 0x4E;
inline constexpr std::uint8_t STREAM_IDENTIFIER_DESCRIPTOR = 0x52;
inline constexpr std::uint8_t CONTENT_DESCRIPTOR = 0x54;
inline constexpr std::uint8_t PARENTAL_RATING_DESCRIPTOR = 0x55;
inline constexpr std::uint8_t TELETEXT_DESCRIPTOR = 0x56;
inline constexpr std::uint8_t LOCAL_TIME_OFFSET_DESCRIPTOR = 0x58;
inline constexpr std::uint8_t SUBTITLING_DESCRIPTOR = 0x59;
inline constexpr std::uint8_t TERRESTRIAL_DELIVERY_DESCRIPTOR = 0x5A;
inline constexpr std::uint8_t PRIVATE_DATA_SPECIFIER_DESCRIPTOR = 0x5F;
inline constexpr std::uint8_t FREQUENCY_LIST_DESCRIPTOR = 0x62;
inline constexpr std::uint8_t AC3_DESCRIPTOR = 0x6A;
inline constexpr std::uint8_t S2_DELIVERY_DESCRIPTOR = 0x79;
inline constexpr std::uint8_t ENHANCED_AC3_DESCRIPTOR = 0x7A;
inline constexpr std::uint8_t DTS_DESCRIPTOR = 0x7B;
inline constexpr std::uint8_t AAC_DESCRIPTOR = 0x7C;
inline constexpr std::uint8_t EXTENSION_DESCRIPTOR = 0x7F;

// EN 300 468, table 109: the first byte of an extension descriptor.
inline constexpr std::uint8_t T2_DELIVERY_EXTENSION = 0x04;
inline constexpr std::uint8_t SUPPLEMENTARY_AUDIO_EXTENSION = 0x06;
inline constexpr std::uint8_t C2_DELIVERY_EXTENSION = 0x0D;
inline constexpr std::uint8_t DTS_HD_EXTENSION = 0x0E;
inline constexpr std::uint8_t AC4_EXTENSION = 0x15;

// Private descriptors of EACEM, the United Kingdom, Australia and others, whose meaning is the same everywhere, also
// where a network forgets the private data specifier; NorDig has wider numbers and a second form.
inline constexpr std::uint8_t LOGICAL_CHANNEL_DESCRIPTOR = 0x83;
inline constexpr std::uint8_t NORDIG_CHANNEL_LIST_DESCRIPTOR = 0x87;
inline constexpr std::uint8_t HD_SIMULCAST_CHANNEL_DESCRIPTOR = 0x88;

}  // namespace durix
