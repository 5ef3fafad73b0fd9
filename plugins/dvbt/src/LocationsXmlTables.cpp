#include <algorithm>
#include <array>
#include <string_view>

#include "LocationsXmlParser.h"

// The words of the locations files. In the first three tables the middleware's number is the place in the table.
namespace {

constexpr std::array<std::string_view, 36> MODULATIONS{
    "0",      "16QAM",   "32QAM",  "64QAM",  "80QAM",    "96QAM",    "112QAM",  "128QAM",           "160QAM",
    "192QAM", "224QAM",  "256QAM", "320QAM", "384QAM",   "448QAM",   "512QAM",  "640QAM",           "768QAM",
    "896QAM", "1024QAM", "QPSK",   "BPSK",   "OQPSK",    "8VSB",     "16VSB",   "ANALOG_AMPLITUDE", "ANALOG_FREQUENCY",
    "8PSK",   "RF",      "16APSK", "32APSK", "NBC_QPSK", "NBC_8PSK", "DIRECTV", "ISDB_T_TMCC",      "ISDB_S_TMCC"};

constexpr std::array<int, 15> CODE_RATES{0, 12, 23, 34, 35, 45, 56, 51, 78, 14, 13, 25, 67, 89, 91};

constexpr std::array<std::string_view, 5> POLARISATIONS{"0", "H", "V", "L", "R"};

struct ReceiverWord {
  std::string_view word;
  ReceiverType type;
};

// The first that occurs anywhere in the text decides.
constexpr std::array<ReceiverWord, 5> RECEIVERS{{{"DVB-T", RECEIVER_DVB_T},
                                                 {"DVB-C", RECEIVER_DVB_C},
                                                 {"DVB-S", RECEIVER_DVB_S},
                                                 {"ISDBT", RECEIVER_ISDB_T},
                                                 {"ATSC", RECEIVER_ATSC}}};

template <typename Table, typename Word>
int placeIn(const Table& table, const Word& word) {
  const auto found = std::find(table.begin(), table.end(), word);
  return found == table.end() ? -1 : static_cast<int>(found - table.begin());
}

}  // namespace

int LocationsXmlParser::getDurixModulation(const std::string& text) {
  return placeIn(MODULATIONS, text);
}

int LocationsXmlParser::getDurixFec(int codeRate) {
  return placeIn(CODE_RATES, codeRate);
}

int LocationsXmlParser::getDurixPolarisation(const std::string& text) {
  return placeIn(POLARISATIONS, text);
}

ReceiverType LocationsXmlParser::getReceiverType(const std::string& text) {
  for (const ReceiverWord& receiver : RECEIVERS) {
    if (text.find(receiver.word) != std::string::npos) return receiver.type;
  }
  return RECEIVER_NONE;
}
