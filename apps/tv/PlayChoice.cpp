#include "PlayChoice.h"

#include <algorithm>
#include <iterator>

#include "ChannelChoice.h"
#include "Failure.h"
#include "Number.h"
#include "host/HostClock.h"
#include "velmora/Program.h"
#include "velmora/Recorder.h"
#include "velmora/Service.h"
#include "velmora/Velmora.h"

namespace tv {
namespace {

/// Where the programme stands among its channel's, and the channel among all.
void chooseProgramme(PlayChoice& choice, const std::string& text) {
  const auto id = static_cast<unsigned>(readId(text));
  for (std::size_t place = 0; place < choice.channels.size(); ++place) {
    for (Program* const program : choice.channels[place]->getPrograms(true)) {
      if (program->getId() != id) continue;
      if (program->getStartTimeT() > host::now() || program->getEndTimeT() <= host::now()) {
        throw Failure("\"" + program->getTitle() + "\" is not on air now");
      }
      choice.content = program;
      choice.place = place;
      return;
    }
  }
  throw UsageError("there is no programme " + text + "; \"tv --json guide\" shows their numbers");
}

Recording& chooseRecording(BroadcastPlugin& plugin, Recording* timeShift, const std::string& text) {
  const auto id = static_cast<unsigned>(readId(text));
  if (timeShift != nullptr && timeShift->getId() == id) return *timeShift;
  if (Recorder* const recorder = plugin.getRecorder()) {
    for (Recording* const one : recorder->getRecorded()) {
      if (one->getId() == id) return *one;
    }
  }
  throw UsageError("there is no recording " + text + "; \"tv recordings\" shows them");
}

/// In small letters, as the channels' own are.
std::string codeOf(const std::string& language) {
  std::string code = language.substr(0, language.find(" / "));
  for (char& letter : code) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return code;
}

}  // namespace

void checkPlayWish(const PlayWish& wish) {
  const int given =
      (wish.channel.empty() ? 0 : 1) + (wish.programme.empty() ? 0 : 1) + (wish.recording.empty() ? 0 : 1);
  if (given == 0) throw UsageError("what is to be played is missing: CHANNEL, --programme ID or --recording ID");
  if (given > 1) throw UsageError("only one of CHANNEL, --programme and --recording can be played");
}

PlayChoice choosePlay(BroadcastPlugin& plugin, Recording* timeShift, const PlayWish& wish) {
  PlayChoice choice;
  if (!wish.recording.empty()) {
    choice.content = &chooseRecording(plugin, timeShift, wish.recording);
    return choice;
  }
  choice.channels = plugin.getServices();
  if (!wish.programme.empty()) {
    chooseProgramme(choice, wish.programme);
  } else {
    choice.place = chooseChannel(wish.channel, channelKeys(choice.channels));
    choice.content = choice.channels[choice.place];
  }
  return choice;
}

bool isLanguage(const std::string& there, const std::string& wanted) {
  if (wanted.ends_with(AC3_SUFFIX) && !there.ends_with(AC3_SUFFIX)) return false;
  const std::string code = codeOf(there);
  return code == codeOf(wanted) || code == Velmora::getInstance()->getIso6392bFromIso6392t(codeOf(wanted));
}

std::vector<std::string> differentLanguages(const std::vector<std::string>& languages) {
  std::vector<std::string> different;
  for (const std::string& one : languages) {
    if (std::ranges::find(different, one) == different.end()) different.push_back(one);
  }
  return different;
}

std::string nextLanguage(const std::vector<std::string>& languages, const std::string& selected) {
  const auto different = differentLanguages(languages);
  const auto found = std::ranges::find(different, selected);
  if (found == different.end()) return different.empty() ? "" : different.front();
  const auto next = std::next(found) == different.end() ? different.begin() : std::next(found);
  return *next == selected ? "" : *next;
}

}  // namespace tv
