#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "middleware/si/Event.h"

namespace durix {

/// The texts of an event in all its languages as one text: fields and languages are set apart by control codes, which
/// no broadcast text holds. A guide has as many of these as events.
class EventTexts {
 public:
  EventTexts() = default;
  explicit EventTexts(const std::vector<EventText>& texts);

  /// As it was packed before.
  static EventTexts unpacked(std::string packed);
  const std::string& packed() const;

  /// In the language of an ISO 639-2 code of either kind (deu, ger) and case, else in the first one. A title that this
  /// language lacks is read in another.
  std::string_view title(std::string_view language) const { return inLanguage(language).title; }
  std::string_view description(std::string_view language) const { return inLanguage(language).description; }

  /// These texts, with what a poorer source says better: languages that are missing here, and descriptions that are
  /// longer where the titles agree.
  EventTexts enrichedBy(const EventTexts& other) const;

  bool operator==(const EventTexts& other) const { return _packed == other._packed || packed() == other.packed(); }

 private:
  struct View {
    std::string_view language, title, description;
  };
  std::vector<View> views() const;
  View inLanguage(std::string_view language) const;

  std::shared_ptr<const std::string> _packed;  // shared by copies; null: empty
};

}  // namespace durix
