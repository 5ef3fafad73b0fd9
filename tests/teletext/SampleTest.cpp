#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "apps/broadcaster/Broadcast.h"
#include "apps/broadcaster/media/VideoSource.h"
#include "middleware/player/TeletextDecoder.h"

namespace durix {
namespace {

using namespace std::chrono_literals;

constexpr broadcaster::Moment START{std::chrono::seconds(1'782'900'000)};

/// What a receiver gets of the sample broadcast's teletext when the file goes round twice.
class SampleTeletext {
 public:
  explicit SampleTeletext(std::string_view language) {
    const broadcaster::Network network = broadcaster::sampleNetwork(broadcaster::canEncodeH264());
    for (const auto& multiplex : network.multiplexes) {
      for (std::size_t i = 0; i < multiplex.services.size(); ++i) {
        const auto& service = multiplex.services[i];
        if (service.language == language && service.hasTeletext) receive(network, multiplex, i);
      }
    }
  }

  /// All texts of a page, without its header.
  std::set<std::string> texts(const TeletextAddress& address) { return _texts[{address.page, address.subpage}]; }
  std::string last(const TeletextAddress& address) { return _last[{address.page, address.subpage}]; }
  std::vector<std::uint32_t> pages() const { return _decoder->pages(); }

 private:
  void receive(const broadcaster::Network& network, const broadcaster::Multiplex& multiplex, std::size_t service) {
    _decoder = std::make_unique<TeletextDecoder>(std::string(multiplex.services[service].language),
                                                 [this](const TeletextAddress& address) { take(address); });
    const std::uint16_t pid = broadcaster::ServicePids(service).teletext();
    std::vector<broadcaster::Packet> packets;
    broadcaster::makeMultiplex(network, multiplex, START, 3s, [&](const broadcaster::Packet& packet) {
      if (PacketView(packet).pid() == pid) packets.push_back(packet);
    });
    for (int round = 0; round < 2; ++round) {
      for (const auto& packet : packets) _decoder->feed(PacketView(packet));
    }
  }

  void take(const TeletextAddress& address) {
    std::string text;
    const auto page = _decoder->page(address);
    ASSERT_TRUE(page.has_value());
    for (std::size_t i = 1; i < page->lines().size(); ++i) text += page->lines()[i] + "\n";
    _texts[{address.page, address.subpage}].insert(text);
    _last[{address.page, address.subpage}] = text;
  }

  std::unique_ptr<TeletextDecoder> _decoder;
  std::map<std::pair<std::uint32_t, std::uint32_t>, std::set<std::string>> _texts;  // by page and subpage
  std::map<std::pair<std::uint32_t, std::uint32_t>, std::string> _last;
};

TEST(SampleBroadcast, HasTeletextInTheLettersOfItsLanguages) {
  struct Row {
    const char* language;
    TeletextAddress address;
    std::vector<std::string> parts;
  };
  const Row rows[] = {
      {"fra", {100, 0}, {"Télé Rivière", "101  Actualités", "300  Météo", "Sommaire  Actualités  Programmes  Météo"}},
      {"fra", {101, 0}, {"Musée : l'entrée est gratuite", "La fête aura lieu où l'on sait."}},
      {"fra", {200, 0}, {"Le journal", "L'été à Honfleur", "Hélène et le hérisson", "Façades"}},
      {"fra", {300, 1}, {"1/2", "Aujourd'hui"}},
      {"fra", {300, 2}, {"2/2", "Demain"}},
      {"ces", {100, 0}, {"Zprávy", "Počasí"}},
      {"ces", {101, 0}, {"Průvod vyjde už v šest večer.", "Most je znovu otevřen,"}},
      {"ces", {300, 1}, {"Cechy    12 C  déšť"}},
  };
  std::map<std::string, std::unique_ptr<SampleTeletext>> received;
  for (const Row& row : rows) {
    auto& teletext = received[row.language];
    if (teletext == nullptr) teletext = std::make_unique<SampleTeletext>(row.language);
    const auto texts = teletext->texts(row.address);
    ASSERT_EQ(texts.size(), 1U) << row.language << row.address.page << ": the same each time, at the seam too";
    for (const std::string& part : row.parts)
      EXPECT_NE(texts.begin()->find(part), std::string::npos) << part << *texts.begin();
  }
}

TEST(SampleBroadcast, HasSubtitlesOnAPageThatIsEmptyAtTheEnd) {
  SampleTeletext teletext("fra");
  EXPECT_EQ(teletext.pages(), (std::vector<std::uint32_t>{100, 101, 200, 300, 888}));
  const auto texts = teletext.texts({888, 0});
  const auto shown =
      std::ranges::count_if(texts, [](const std::string& text) { return text.find("Il est ") != std::string::npos; });
  EXPECT_GE(shown, 3) << "one for each second";
  EXPECT_EQ(teletext.last({888, 0}).find_first_not_of(" \n"), std::string::npos);
}

}  // namespace
}  // namespace durix
