#include "LocationsXmlParser.h"

#include <cctype>
#include <cstdint>
#include <exception>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "support/Log.h"
#include "support/Text.h"

namespace {

const LogSource LOG{Logger::loggerFactory("LOCATIONS_XML_PARSER"), "plugins/dvbt/src/LocationsXmlParser"};

// A list that no scan would ever end, and the depth that the XML parser's recursion bears on the smallest stacks: the
// format itself needs four levels.
constexpr std::size_t MOST_FREQUENCIES = std::size_t{1} << 22U;
constexpr int MOST_LEVELS = 1000;

/// Empties the document when the file is done with, on every path.
class Cleared {
 public:
  explicit Cleared(TiXmlDocument& document) : _document(document) {}
  Cleared(const Cleared&) = delete;
  Cleared& operator=(const Cleared&) = delete;
  ~Cleared() { _document.Clear(); }

 private:
  TiXmlDocument& _document;
};

/// Just behind the tag that begins at `tag`; a quoted value may hold anything.
std::size_t tagEnd(std::string_view xml, std::size_t tag) {
  for (std::size_t at = tag; at < xml.size(); ++at) {
    if (xml[at] == '>') return at + 1;
    if (xml[at] == '"' || xml[at] == '\'') at = xml.find(xml[at], at + 1);
    if (at == std::string_view::npos) break;
  }
  return xml.size();
}

/// Whether elements are nested deeper than the XML parser could follow without running out of stack.
bool nestsTooDeep(std::string_view xml) {
  int level = 0;
  for (std::size_t at = xml.find('<'); at < xml.size(); at = xml.find('<', at)) {
    const std::string_view rest = xml.substr(at);
    const char kind = rest.size() > 1 ? rest[1] : '\0';
    if (rest.starts_with("<!--")) {
      at = xml.find("-->", at);
    } else if (kind == '/') {
      ++at;
      if (level > 0) --level;
    } else if (std::isalpha(static_cast<unsigned char>(kind)) != 0 || kind == '_') {
      at = tagEnd(xml, at);
      const bool closesItself = xml.substr(at - 2, 2) == "/>";
      if (!closesItself && ++level > MOST_LEVELS) return true;
    } else {
      ++at;
    }
  }
  return false;
}

std::string fileText(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

/// The text of a child element: its first child node, whatever that is; empty when there is none.
std::string childText(const TiXmlNode& node, const char* name) {
  const TiXmlElement* const child = node.FirstChildElement(name);
  const TiXmlNode* const text = child == nullptr ? nullptr : child->FirstChild();
  return text == nullptr ? std::string() : text->ValueStr();
}

std::uint32_t unsignedAttribute(const TiXmlElement& element, const char* name) {
  return unsignedValue(element.Attribute(name));
}

int intAttribute(const TiXmlElement& element, const char* name) {
  int value = -1;  // stays when the attribute is absent or malformed
  element.QueryIntAttribute(name, &value);
  return value;
}

durix_scan_frequency frequencyRecord(const TiXmlElement& element, std::uint32_t frequency) {
  return {.frequency = static_cast<std::int32_t>(frequency),
          .bandwidth = static_cast<std::int32_t>(unsignedAttribute(element, "bandwidth")),
          .symbol_rate = intAttribute(element, "symbolrate"),
          .modulation = LocationsXmlParser::getDurixModulation(textOrEmpty(element.Attribute("modulation"))),
          .orbital_position = -1,
          .fec = LocationsXmlParser::getDurixFec(intAttribute(element, "fec")),
          .polarisation = LocationsXmlParser::getDurixPolarisation(textOrEmpty(element.Attribute("polarisation")))};
}

const TiXmlElement* elementNamed(const TiXmlNode* node, std::string_view name) {
  const TiXmlElement* const element = node == nullptr ? nullptr : node->ToElement();
  return element != nullptr && element->ValueStr() == name ? element : nullptr;
}

}  // namespace

LocationsXmlParser::~LocationsXmlParser() = default;

std::vector<BCLocation*> LocationsXmlParser::createBCLocations(const std::string& path) {
  std::vector<BCLocation*> locations;
  if (!load(path)) return locations;
  const Cleared cleared(_document);
  const TiXmlElement* const root = _document.FirstChildElement("locations");
  if (root == nullptr || root->FirstChildElement("location") == nullptr) return locations;
  // Every child counts, whatever it is called; one that is no location fails when it is scanned.
  for (const TiXmlNode* child = root->FirstChild(); child != nullptr; child = child->NextSibling()) {
    const std::string name = childText(*child, "name");
    if (name.empty()) continue;
    auto location = std::make_unique<BCLocation>();
    location->filePath = path;
    location->name = name;
    location->icon = childText(*child, "icon");
    location->type = getReceiverType(childText(*child, "type"));
    locations.push_back(location.get());
    static_cast<void>(location.release());
  }
  return locations;
}

bool LocationsXmlParser::parseBCLocationData(BCLocation* location) {
  if (location == nullptr) {
    BC_ERR(LOG, "Location not created!");
    return false;
  }
  if (!load(location->filePath)) return false;
  const Cleared cleared(_document);
  location->releaseScanConfiguration();
  location->scanConfiguration =
      static_cast<durix_scan_configuration*>(ostiv_mem_calloc(1, sizeof(durix_scan_configuration)));
  if (location->scanConfiguration == nullptr) {
    BC_ERR(LOG, "Could not parse location %s data", location->name.c_str());
    return false;
  }
  TiXmlElement* const element = findLocation(*location);
  if (element == nullptr) {
    BC_ERR(LOG, "Could not find location %s", location->name.c_str());
    return false;
  }
  try {
    if (parseFrequencies(*element, *location)) return true;
  } catch (const std::exception&) {
    // A list too long to hold.
  }
  BC_ERR(LOG, "Could not parse location %s data", location->name.c_str());
  return false;
}

bool LocationsXmlParser::parseSingle(TiXmlNode* node, std::vector<durix_scan_frequency>& frequencies) {
  const TiXmlElement* const single = elementNamed(node, "single");
  if (single == nullptr) return false;
  frequencies.push_back(frequencyRecord(*single, unsignedAttribute(*single, "frequency")));
  return true;
}

bool LocationsXmlParser::parseRange(TiXmlNode* node, std::vector<durix_scan_frequency>& frequencies) {
  const TiXmlElement* const range = elementNamed(node, "range");
  if (range == nullptr) return false;
  const std::uint32_t start = unsignedAttribute(*range, "start");
  const std::uint32_t end = unsignedAttribute(*range, "end");
  const std::uint32_t step = unsignedAttribute(*range, "step");
  if (end == 0 || step == 0) return false;
  if (start > end) return true;
  const std::size_t count = (end - start) / step + std::size_t{1};
  if (count > MOST_FREQUENCIES - frequencies.size()) throw std::length_error("frequencies");
  durix_scan_frequency record = frequencyRecord(*range, start);
  for (std::uint64_t frequency = start; frequency <= end; frequency += step) {
    record.frequency = static_cast<std::int32_t>(frequency);
    frequencies.push_back(record);
  }
  return true;
}

bool LocationsXmlParser::load(const std::string& path) {
  const char* error = "out of memory";
  try {
    if (nestsTooDeep(fileText(path))) {
      error = "elements are nested too deep";
    } else if (_document.LoadFile(path, TIXML_ENCODING_UTF8)) {
      return true;
    } else {
      error = _document.ErrorDesc();
    }
  } catch (const std::exception&) {
    // What the parser asks for when the path is a directory, too.
  }
  BC_ERR(LOG, "Could not load location file: %s, error %s", path.c_str(), error);
  _document.Clear();
  return false;
}

TiXmlElement* LocationsXmlParser::findLocation(const BCLocation& location) {
  TiXmlElement* const root = _document.FirstChildElement("locations");
  TiXmlElement* element = root == nullptr ? nullptr : root->FirstChildElement("location");
  if (element == nullptr) BC_ERR(LOG, "Could not parse location %s data", location.name.c_str());
  for (; element != nullptr; element = element->NextSiblingElement("location")) {
    if (childText(*element, "name") == location.name && getReceiverType(childText(*element, "type")) == location.type) {
      break;
    }
  }
  return element;
}

bool LocationsXmlParser::parseFrequencies(TiXmlElement& element, BCLocation& location) {
  TiXmlElement* const list = element.FirstChildElement("frequencies");
  if (list == nullptr) return false;
  const int orbitalPosition = intAttribute(*list, "orbitalposition");
  std::vector<durix_scan_frequency> frequencies;
  for (TiXmlNode* child = list->FirstChild(); child != nullptr; child = child->NextSibling()) {
    if (!parseSingle(child, frequencies)) parseRange(child, frequencies);
  }
  if (frequencies.empty()) return true;
  auto* const array =
      static_cast<durix_scan_frequency*>(ostiv_mem_calloc(frequencies.size(), sizeof(durix_scan_frequency)));
  if (array == nullptr) return false;
  for (std::size_t i = 0; i < frequencies.size(); ++i) {
    array[i] = frequencies[i];
    array[i].orbital_position = orbitalPosition;
  }
  location.scanConfiguration->frequencies = array;
  location.scanConfiguration->count = static_cast<std::uint32_t>(frequencies.size());
  return true;
}
