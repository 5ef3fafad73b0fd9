#include <algorithm>

#include "middleware/si/DescriptorTags.h"
#include "middleware/si/Descriptors.h"
#include "middleware/si/StreamKinds.h"
#include "middleware/si/TableReaders.h"

#include <dvbpsi/dr_09.h>
#include <dvbpsi/dr_0a.h>
#include <dvbpsi/dr_52.h>
#include <dvbpsi/dr_56.h>
#include <dvbpsi/dr_59.h>

namespace durix {

namespace {
constexpr std::size_t TABLE_HEADER_SIZE = 4;
constexpr std::size_t ENTRY_HEADER_SIZE = 5;

void readCa(const Descriptor& descriptor, std::vector<CaSystem>& systems) {
  if (const Decoded content(descriptor, dvbpsi_DecodeCADr); content) {
    systems.push_back({.systemId = content->i_ca_system_id, .pid = content->i_ca_pid});
  }
}

void readLanguages(const Descriptor& descriptor, Component& component) {
  const Decoded content(descriptor, dvbpsi_DecodeISO639Dr);
  if (!content) return;
  for (std::size_t i = 0; i < content->i_code_count; ++i) {
    const auto& entry = content->code[i];
    component.languages.push_back({.code = languageCode(entry.iso_639_code), .audioType = entry.i_audio_type});
  }
}

void readTeletext(const Descriptor& descriptor, Component& component) {
  const Decoded content(descriptor, dvbpsi_DecodeTeletextDr);
  if (!content) return;
  for (std::size_t i = 0; i < content->i_pages_number; ++i) {
    const auto& entry = content->p_pages[i];
    const unsigned magazine = entry.i_teletext_magazine_number == 0 ? 8 : entry.i_teletext_magazine_number;
    component.teletext.push_back({.language = languageCode(entry.i_iso6392_language_code),
                                  .type = entry.i_teletext_type,
                                  .page = static_cast<std::uint16_t>(magazine << 8 | entry.i_teletext_page_number)});
  }
}

void readSubtitles(const Descriptor& descriptor, Component& component) {
  const Decoded content(descriptor, dvbpsi_DecodeSubtitlingDr);
  if (!content) return;
  const std::size_t count = std::min<std::size_t>(content->i_subtitles_number, DVBPSI_SUBTITLING_DR_MAX);
  for (std::size_t i = 0; i < count; ++i) {
    const auto& entry = content->p_subtitle[i];
    component.subtitles.push_back({.language = languageCode(entry.i_iso6392_language_code),
                                   .type = entry.i_subtitling_type,
                                   .compositionPage = entry.i_composition_page_id,
                                   .ancillaryPage = entry.i_ancillary_page_id});
  }
}

void readSupplementaryAudio(const Descriptor& descriptor, Component& component) {
  const auto data = descriptor.data;
  if (data.size() < 2) return;
  SupplementaryAudio audio{.isComplete = (data[1] & 0x80) != 0,
                           .classification = static_cast<std::uint8_t>(data[1] >> 2 & 0x1F),
                           .language = {}};
  if ((data[1] & 1) != 0 && data.size() >= 5) audio.language = languageCode(data.subspan<2, 3>());
  component.supplementaryAudio = std::move(audio);
}

void readAc3(const Descriptor& descriptor, Component& component) {
  constexpr std::uint8_t COMPONENT_TYPE_FLAG = 0x80;
  const auto data = descriptor.data;
  if (data.size() >= 2 && (data[0] & COMPONENT_TYPE_FLAG) != 0) component.audioComponentType = data[1];
}

void readDescriptor(const Descriptor& descriptor, Component& component) {
  switch (descriptor.tag) {
    case CA_DESCRIPTOR:
      return readCa(descriptor, component.caSystems);
    case LANGUAGE_DESCRIPTOR:
      return readLanguages(descriptor, component);
    case STREAM_IDENTIFIER_DESCRIPTOR:
      if (const Decoded content(descriptor, dvbpsi_DecodeStreamIdentifierDr); content) {
        component.tag = content->i_component_tag;
      }
      return;
    case TELETEXT_DESCRIPTOR:
      return readTeletext(descriptor, component);
    case SUBTITLING_DESCRIPTOR:
      return readSubtitles(descriptor, component);
    case AC3_DESCRIPTOR:
    case ENHANCED_AC3_DESCRIPTOR:
      return readAc3(descriptor, component);
    case EXTENSION_DESCRIPTOR:
      if (!descriptor.data.empty() && descriptor.data[0] == SUPPLEMENTARY_AUDIO_EXTENSION) {
        readSupplementaryAudio(descriptor, component);
      }
      return;
    default:
      return;
  }
}
}  // namespace

Program readPmt(const Section& section, std::uint16_t pid) {
  Program program{.number = section.extension(), .pmtPid = pid, .version = section.version()};
  auto rest = section.body();
  if (rest.size() < TABLE_HEADER_SIZE) return program;
  program.pcrPid = static_cast<std::uint16_t>((rest[0] & 0x1F) << 8 | rest[1]);
  std::size_t length = (rest[2] & 0x0FU) << 8 | rest[3];
  rest = rest.subspan(TABLE_HEADER_SIZE);
  const auto common = rest.first(std::min(length, rest.size()));
  program.descriptors.assign(common.begin(), common.end());
  for (const auto& descriptor : readDescriptors(common)) {
    if (descriptor.tag == CA_DESCRIPTOR) readCa(descriptor, program.caSystems);
  }
  rest = rest.subspan(common.size());
  while (rest.size() >= ENTRY_HEADER_SIZE) {
    Component component{.pid = static_cast<std::uint16_t>((rest[1] & 0x1F) << 8 | rest[2]), .streamType = rest[0]};
    length = (rest[3] & 0x0FU) << 8 | rest[4];
    rest = rest.subspan(ENTRY_HEADER_SIZE);
    const auto loop = rest.first(std::min(length, rest.size()));
    component.descriptors.assign(loop.begin(), loop.end());
    const auto descriptors = readDescriptors(loop);
    for (const auto& descriptor : descriptors) readDescriptor(descriptor, component);
    component.kind = kindOfStream(component.streamType, descriptors);
    program.components.push_back(std::move(component));
    rest = rest.subspan(loop.size());
  }
  return program;
}

}  // namespace durix
