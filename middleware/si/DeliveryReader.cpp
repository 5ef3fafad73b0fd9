#include "middleware/si/DeliveryReader.h"

#include <algorithm>
#include <array>

#include "middleware/si/DescriptorTags.h"

namespace durix {

namespace {
using Bytes = std::span<const std::uint8_t>;

constexpr std::uint32_t UNKNOWN_FREQUENCY = 0xFFFFFFFF;

// Units of the coded numbers, Hz or symbols a second.
constexpr std::uint64_t TERRESTRIAL_UNIT = 10;
constexpr std::uint64_t SATELLITE_UNIT = 10'000;
constexpr std::uint64_t CABLE_UNIT = 100;
constexpr std::uint64_t SYMBOL_RATE_UNIT = 100;

std::uint32_t word32(Bytes bytes, std::size_t at) {
  return std::uint32_t{bytes[at]} << 24 | std::uint32_t{bytes[at + 1]} << 16 | std::uint32_t{bytes[at + 2]} << 8 |
         bytes[at + 3];
}

std::uint64_t bcd(std::uint32_t coded, int digits) {
  std::uint64_t value = 0;
  for (int i = digits - 1; i >= 0; --i) value = value * 10 + (coded >> (4 * i) & 0x0F);
  return value;
}

void addFrequency(std::vector<std::uint64_t>& frequencies, std::uint32_t coded, std::uint64_t frequency) {
  if (coded == 0 || coded == UNKNOWN_FREQUENCY) return;
  if (std::ranges::find(frequencies, frequency) == frequencies.end()) frequencies.push_back(frequency);
}

void addTerrestrialFrequency(std::vector<std::uint64_t>& frequencies, std::uint32_t coded) {
  addFrequency(frequencies, coded, coded * TERRESTRIAL_UNIT);
}

// EN 300 468, 6.2.13.2
void readSatellite(Bytes data, std::vector<Delivery>& deliveries) {
  if (data.size() < 11) return;
  const bool isEast = (data[6] & 0x80) != 0;
  const auto position = static_cast<std::int32_t>(bcd(word32(data, 2) & 0xFFFF, 4));
  Delivery delivery{.system = (data[6] & 0x04) != 0 ? DeliverySystem::Satellite2 : DeliverySystem::Satellite,
                    .symbolRate = static_cast<std::uint32_t>(bcd(word32(data, 7) >> 4, 7) * SYMBOL_RATE_UNIT),
                    .polarisation = static_cast<Polarisation>(data[6] >> 5 & 3),
                    .orbitalPosition = isEast ? position : -position};
  addFrequency(delivery.frequencies, word32(data, 0), bcd(word32(data, 0), 8) * SATELLITE_UNIT);
  deliveries.push_back(std::move(delivery));
}

// EN 300 468, 6.2.13.1
void readCable(Bytes data, std::vector<Delivery>& deliveries) {
  if (data.size() < 11) return;
  Delivery delivery{.system = DeliverySystem::Cable,
                    .symbolRate = static_cast<std::uint32_t>(bcd(word32(data, 7) >> 4, 7) * SYMBOL_RATE_UNIT)};
  addFrequency(delivery.frequencies, word32(data, 0), bcd(word32(data, 0), 8) * CABLE_UNIT);
  deliveries.push_back(std::move(delivery));
}

// EN 300 468, 6.2.13.4
void readTerrestrial(Bytes data, std::vector<Delivery>& deliveries) {
  constexpr std::array<std::uint32_t, 4> BANDWIDTHS = {8'000'000, 7'000'000, 6'000'000, 5'000'000};
  if (data.size() < 5) return;
  const std::size_t bandwidth = data[4] >> 5;
  Delivery delivery{.system = DeliverySystem::Terrestrial,
                    .bandwidth = bandwidth < BANDWIDTHS.size() ? BANDWIDTHS[bandwidth] : 0};
  addTerrestrialFrequency(delivery.frequencies, word32(data, 0));
  deliveries.push_back(std::move(delivery));
}

// The frequencies of one cell of a T2 system; returns the bytes that it takes.
std::size_t readT2Cell(Bytes cell, bool isTimeFrequencySliced, std::vector<std::uint64_t>& frequencies) {
  constexpr std::size_t CELL_ID_SIZE = 2;
  constexpr std::size_t FREQUENCY_SIZE = 4;
  std::size_t at = CELL_ID_SIZE;
  std::size_t length = FREQUENCY_SIZE;
  if (isTimeFrequencySliced) length = at < cell.size() ? cell[at++] : 0;
  for (; length >= FREQUENCY_SIZE && at + FREQUENCY_SIZE <= cell.size(); length -= FREQUENCY_SIZE) {
    addTerrestrialFrequency(frequencies, word32(cell, at));
    at += FREQUENCY_SIZE;
  }
  if (at >= cell.size()) return cell.size();
  return std::min(at + 1 + cell[at], cell.size());  // the sub-cells are repeaters of the same
}

// EN 300 468, 6.4.6.3
void readT2(Bytes data, std::vector<Delivery>& deliveries) {
  constexpr std::array<std::uint32_t, 6> BANDWIDTHS = {8'000'000, 7'000'000,  6'000'000,
                                                       5'000'000, 10'000'000, 1'712'000};
  constexpr std::size_t SHORT_FORM_SIZE = 4;
  constexpr std::size_t CELLS = 6;
  if (data.size() < SHORT_FORM_SIZE) return;
  Delivery delivery{.system = DeliverySystem::Terrestrial2, .plp = data[1]};
  if (data.size() >= CELLS) {
    const std::size_t bandwidth = data[4] >> 2 & 0x0F;
    if (bandwidth < BANDWIDTHS.size()) delivery.bandwidth = BANDWIDTHS[bandwidth];
    const bool isSliced = (data[5] & 1) != 0;
    for (auto cells = data.subspan(CELLS); !cells.empty();) {
      cells = cells.subspan(readT2Cell(cells, isSliced, delivery.frequencies));
    }
  }
  deliveries.push_back(std::move(delivery));
}

// EN 300 468, 6.4.6.1
void readC2(Bytes data, std::vector<Delivery>& deliveries) {
  if (data.size() < 7) return;
  Delivery delivery{.system = DeliverySystem::Cable2, .plp = data[1]};
  addFrequency(delivery.frequencies, word32(data, 3), word32(data, 3));
  deliveries.push_back(std::move(delivery));
}

// EN 300 468, 6.2.17
void readFrequencyList(Bytes data, std::vector<Delivery>& deliveries) {
  if (data.empty() || deliveries.empty()) return;
  auto& frequencies = deliveries.back().frequencies;
  const unsigned coding = data[0] & 3;
  for (data = data.subspan(1); data.size() >= 4; data = data.subspan(4)) {
    const std::uint32_t coded = word32(data, 0);
    if (coding == 1) addFrequency(frequencies, coded, bcd(coded, 8) * SATELLITE_UNIT);
    if (coding == 2) addFrequency(frequencies, coded, bcd(coded, 8) * CABLE_UNIT);
    if (coding == 3) addTerrestrialFrequency(frequencies, coded);
  }
}

void readExtension(Bytes data, std::vector<Delivery>& deliveries) {
  if (data.empty()) return;
  if (data[0] == T2_DELIVERY_EXTENSION) readT2(data, deliveries);
  if (data[0] == C2_DELIVERY_EXTENSION) readC2(data, deliveries);
}
}  // namespace

void readDelivery(const Descriptor& descriptor, std::vector<Delivery>& deliveries) {
  switch (descriptor.tag) {
    case SATELLITE_DELIVERY_DESCRIPTOR:
      return readSatellite(descriptor.data, deliveries);
    case CABLE_DELIVERY_DESCRIPTOR:
      return readCable(descriptor.data, deliveries);
    case TERRESTRIAL_DELIVERY_DESCRIPTOR:
      return readTerrestrial(descriptor.data, deliveries);
    case FREQUENCY_LIST_DESCRIPTOR:
      return readFrequencyList(descriptor.data, deliveries);
    case S2_DELIVERY_DESCRIPTOR:
      if (!deliveries.empty()) deliveries.back().system = DeliverySystem::Satellite2;
      return;
    case EXTENSION_DESCRIPTOR:
      return readExtension(descriptor.data, deliveries);
    default:
      return;
  }
}

}  // namespace durix
