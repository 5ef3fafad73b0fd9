#include "middleware/guide/EventTexts.h"

#include <algorithm>
#include <utility>

#include "middleware/si/Languages.h"

namespace durix {
namespace {

constexpr char FIELD_END = '\x1F';
constexpr char LANGUAGE_END = '\x1E';

std::string_view takeUntil(std::string_view& rest, char end) {
  const auto at = std::min(rest.find(end), rest.size());
  const auto part = rest.substr(0, at);
  rest.remove_prefix(std::min(at + 1, rest.size()));
  return part;
}

void add(std::string& packed, std::string_view language, std::string_view title, std::string_view description) {
  packed.append(language) += FIELD_END;
  packed.append(title) += FIELD_END;
  packed.append(description) += LANGUAGE_END;
}

}  // namespace

EventTexts::EventTexts(const std::vector<EventText>& texts) {
  std::string packed;
  for (const auto& text : texts) add(packed, text.language, text.title, text.description);
  _packed = std::make_shared<const std::string>(std::move(packed));
}

EventTexts EventTexts::unpacked(std::string packed) {
  EventTexts texts;
  texts._packed = std::make_shared<const std::string>(std::move(packed));
  return texts;
}

const std::string& EventTexts::packed() const {
  static const std::string none;
  return _packed ? *_packed : none;
}

std::vector<EventTexts::View> EventTexts::views() const {
  std::vector<View> views;
  for (std::string_view rest = packed(); !rest.empty();) {
    std::string_view entry = takeUntil(rest, LANGUAGE_END);
    const auto language = takeUntil(entry, FIELD_END);
    const auto title = takeUntil(entry, FIELD_END);
    views.push_back({language, title, entry});
  }
  return views;
}

EventTexts::View EventTexts::inLanguage(std::string_view language) const {
  const auto all = views();
  if (all.empty()) return {};
  std::string wanted(language);  // who sets it may write it as he likes; broadcasts are read in lower case
  std::transform(wanted.begin(), wanted.end(), wanted.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  const auto found = std::find_if(all.begin(), all.end(), [&](const View& view) {
    return canonicalLanguage(view.language) == canonicalLanguage(wanted);
  });
  View view = found == all.end() ? all.front() : *found;
  // A language may have an extended text only; a programme still has a name.
  for (auto other = all.begin(); view.title.empty() && other != all.end(); ++other) view.title = other->title;
  return view;
}

EventTexts EventTexts::enrichedBy(const EventTexts& other) const {
  if (*this == other) return *this;
  std::string packed;
  auto theirs = other.views();
  for (View view : views()) {
    const auto same =
        std::find_if(theirs.begin(), theirs.end(), [&](const View& their) { return their.language == view.language; });
    if (same != theirs.end()) {
      if (view.title.empty()) view.title = same->title;
      const bool isBetter = same->title == view.title && same->description.size() > view.description.size();
      if (isBetter) view.description = same->description;
      theirs.erase(same);
    }
    add(packed, view.language, view.title, view.description);
  }
  for (const View& view : theirs) add(packed, view.language, view.title, view.description);
  return unpacked(std::move(packed));
}

}  // namespace durix
