#include "middleware/player/TeletextDecoder.h"

#include <libzvbi.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "middleware/si/Languages.h"

namespace durix {
namespace {

constexpr double FRAME = 0.04;            // seconds; the library takes other steps for a change of channel
constexpr std::size_t MOST_PAGES = 8192;  // subpages included: a hostile stream may have millions
constexpr int COLUMNS = 40;
constexpr int CLOCK = 32;  // the last eight characters of a header (EN 300 706, 9.3.1.4)
constexpr std::size_t CLOCK_BYTES = (COLUMNS - CLOCK) * sizeof(vbi_char);
constexpr std::size_t CONTROL = 9;  // of a header: C11 to C14
constexpr int LINE = 7;             // of the television picture: any that may hold teletext

// Designations of letters (EN 300 706, tables 32 and 33), where the first, of Western Europe, lacks a language.
struct Region {
  const char* language;
  int designation;
};
constexpr int WESTERN = 0;
constexpr Region REGIONS[] = {{"pol", 8},  {"tur", 16}, {"hrv", 24}, {"slv", 24}, {"bos", 24}, {"ron", 24}, {"srp", 32},
                              {"rus", 32}, {"bul", 32}, {"mkd", 32}, {"ukr", 32}, {"bel", 32}, {"est", 32}, {"lav", 32},
                              {"lit", 32}, {"ell", 48}, {"ara", 64}, {"fas", 64}, {"heb", 80}};

int regionOf(const std::string& language) {
  const auto code = canonicalLanguage(language);
  const auto* const found = std::ranges::find_if(REGIONS, [&](const Region& one) { return code == one.language; });
  return found == std::end(REGIONS) ? WESTERN : found->designation;
}

/// A number whose decimal digits are those of four bits each; nothing when there are others.
std::optional<std::uint32_t> decimal(int digits) {
  std::uint32_t number = 0;
  for (int shift = 12; shift >= 0; shift -= 4) {
    const int digit = digits >> shift & 0xF;
    if (digit > 9) return std::nullopt;
    number = number * 10 + static_cast<std::uint32_t>(digit);
  }
  return number;
}

int digitsOf(std::uint32_t number) {
  int digits = 0;
  for (int shift = 0; number > 0; number /= 10, shift += 4) digits |= static_cast<int>(number % 10) << shift;
  return digits;
}

std::uint8_t magazineBit(int page) {
  return static_cast<std::uint8_t>(1U << (static_cast<unsigned>(page) >> 8 & 7U));
}

/// The page with its links in the lowest line, as a viewer sees it.
bool fetch(vbi_decoder* decoder, int page, int subpage, vbi_page& result) {
  return vbi_fetch_vt_page(decoder, &result, page, subpage, VBI_WST_LEVEL_1p5, FFPIC_TELETEXT_LINES, 1) != 0;
}

bool hasClock(const vbi_page& page) {
  return std::any_of(page.text + CLOCK, page.text + COLUMNS, [](const vbi_char& cell) { return cell.unicode != ' '; });
}

}  // namespace

void TeletextDecoder::Delete::operator()(vbi_decoder* decoder) const {
  vbi_decoder_delete(decoder);
}

TeletextDecoder::TeletextDecoder(const std::string& language, Arrival arrival)
    : _region(regionOf(language)),
      _arrival(std::move(arrival)),
      _packets([this](std::span<const TeletextPackets::Packet> packets, bool afterLoss) {
        if (afterLoss) _damaged |= _begun;
        for (const auto& packet : packets) decode(packet);
      }) {
  begin();
}

void TeletextDecoder::begin() {
  _decoder.reset(vbi_decoder_new());
  if (_decoder == nullptr) throw std::bad_alloc();
  if (vbi_event_handler_register(_decoder.get(), VBI_EVENT_TTX_PAGE, handle, this) == 0) throw std::bad_alloc();
  vbi_teletext_set_default_region(_decoder.get(), _region);
  _known.clear();
  _count = 0;
  _clock.clear();
}

// Called by the library, which no exception may pass.
void TeletextDecoder::handle(vbi_event* event, void* user) {
  const auto& page = event->ev.ttx_page;
  try {
    static_cast<TeletextDecoder*>(user)->_ended.push_back({page.pgno, page.subno, page.roll_header != 0});
  } catch (const std::bad_alloc&) {  // it comes again
  }
}

void TeletextDecoder::decode(const TeletextPackets::Packet& packet) {
  vbi_sliced line{};
  line.id = VBI_SLICED_TELETEXT_B;
  line.line = LINE;
  std::ranges::copy(packet, line.data);
  _time += FRAME;
  vbi_decode(_decoder.get(), &line, 1, _time);
  for (const Ended& ended : std::exchange(_ended, {})) take(ended);
  // A header begins a page, and ends all others where the pages of all magazines follow each other (C11).
  const int address = vbi_unham16p(packet.data());
  if (address >= 0 && address >> 3 == 0) {
    const auto magazine = static_cast<std::uint8_t>(1U << (static_cast<unsigned>(address) & 7U));
    const int control = vbi_unham8(packet[CONTROL]);
    const auto others = static_cast<std::uint8_t>(control > 0 && (control & 1) != 0 ? 0 : ~magazine);
    _begun = (_begun & others) | magazine;
    _damaged &= others;
  }
  if (_count > MOST_PAGES) begin();
}

void TeletextDecoder::take(const Ended& ended) {
  const auto number = decimal(ended.page);
  const auto subpage = decimal(ended.subpage);
  const bool isDamaged = (_damaged & magazineBit(ended.page)) != 0;
  if (!number || !subpage) return;
  const TeletextAddress address{*number, *subpage};
  if (isDamaged) return forget(address);  // lines may be missing, or another page's
  vbi_page page;
  if (ended.rolls && fetch(_decoder.get(), ended.page, ended.subpage, page) && hasClock(page)) {
    _clock.assign(reinterpret_cast<const char*>(page.text + CLOCK), CLOCK_BYTES);
  }
  Known& known = _known[address.page];
  known.last = address.subpage;
  if (known.subpages.insert_or_assign(address.subpage, ended.rolls).second) ++_count;
  if (_arrival) _arrival(address);
}

void TeletextDecoder::forget(const TeletextAddress& address) {
  const auto known = _known.find(address.page);
  if (known == _known.end()) return;
  _count -= known->second.subpages.erase(address.subpage);
  if (known->second.subpages.empty()) {
    _known.erase(known);
  } else if (known->second.last == address.subpage) {
    known->second.last = known->second.subpages.begin()->first;
  }
}

std::optional<TeletextPage> TeletextDecoder::page(const TeletextAddress& address) const {
  const auto known = _known.find(address.page);
  if (known == _known.end()) return std::nullopt;
  const TeletextAddress found{address.page, address.subpage == 0 ? known->second.last : address.subpage};
  const auto subpage = known->second.subpages.find(found.subpage);
  if (subpage == known->second.subpages.end()) return std::nullopt;
  vbi_page page;
  if (!fetch(_decoder.get(), digitsOf(found.page), digitsOf(found.subpage), page)) return std::nullopt;
  if (subpage->second && !_clock.empty() && hasClock(page)) std::memcpy(page.text + CLOCK, _clock.data(), CLOCK_BYTES);
  return TeletextPage(found, page);
}

std::vector<std::uint32_t> TeletextDecoder::pages() const {
  std::vector<std::uint32_t> numbers;
  numbers.reserve(_known.size());
  for (const auto& [number, known] : _known) numbers.push_back(number);
  return numbers;
}

std::vector<std::uint32_t> TeletextDecoder::subpages(std::uint32_t page) const {
  const auto known = _known.find(page);
  if (known == _known.end()) return {};
  std::vector<std::uint32_t> numbers;
  for (const auto& [number, rolls] : known->second.subpages) numbers.push_back(number);
  return numbers;
}

}  // namespace durix
