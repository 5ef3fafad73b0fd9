#include "LocationFiles.h"

#include <tinyxml.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <vector>

#include "Failure.h"
#include "Text.h"

namespace fs = std::filesystem;

namespace tv {
namespace {

constexpr std::uint64_t MOST_FREQUENCIES = 20000;  // of one range; a raster of 100 kHz over 2 GHz

std::optional<std::uint32_t> readNumber(const char* text) {
  std::uint32_t number = 0;
  const char* end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

/// The attribute's number, 0 when it is absent; `fault` is set when the text is none.
std::uint32_t numberOf(const TiXmlElement& element, const char* attribute, std::string& fault) {
  const char* text = element.Attribute(attribute);
  if (text == nullptr) return 0;
  const std::optional<std::uint32_t> number = readNumber(text);
  if (number) return *number;
  if (fault.empty()) {
    fault = "line " + std::to_string(element.Row()) + ": " + attribute + "=\"" + text +
            "\" is not a number from 0 to 4294967295";
  }
  return 0;
}

std::string frequencyFault(const TiXmlElement& element) {
  std::string fault;
  for (const char* attribute : {"frequency", "bandwidth", "symbolrate"}) numberOf(element, attribute, fault);
  const std::uint64_t start = numberOf(element, "start", fault);
  const std::uint64_t end = numberOf(element, "end", fault);
  const std::uint64_t step = numberOf(element, "step", fault);
  if (fault.empty() && element.ValueStr() == "range" && step > 0 && end >= start &&
      (end - start) / step >= MOST_FREQUENCIES) {
    fault = "line " + std::to_string(element.Row()) + ": a range of " + std::to_string((end - start) / step + 1) +
            " frequencies";
  }
  return fault;
}

std::string locationFault(const TiXmlElement& location) {
  for (const TiXmlElement* list = location.FirstChildElement("frequencies"); list != nullptr;
       list = list->NextSiblingElement("frequencies")) {
    for (const TiXmlElement* entry = list->FirstChildElement(); entry != nullptr; entry = entry->NextSiblingElement()) {
      std::string fault = frequencyFault(*entry);
      if (!fault.empty()) return fault;
    }
  }
  return {};
}

}  // namespace

std::string locationFileFault(const std::string& path) {
  TiXmlDocument document;
  if (!document.LoadFile(path, TIXML_ENCODING_UTF8)) {
    const std::string line = document.ErrorRow() > 0 ? "line " + std::to_string(document.ErrorRow()) + ": " : "";
    return line + document.ErrorDesc();
  }
  const TiXmlElement* root = document.RootElement();
  if (root == nullptr || root->ValueStr() != "locations") return "its root element is not \"locations\"";
  const TiXmlElement* location = root->FirstChildElement("location");
  if (location == nullptr) return "it holds no location";
  for (; location != nullptr; location = location->NextSiblingElement("location")) {
    std::string fault = locationFault(*location);
    if (!fault.empty()) return fault;
  }
  return {};
}

void checkLocationFiles(const std::string& libraryDirectory) {
  const fs::path directory = fs::path(libraryDirectory) / "locations";
  std::error_code error;
  std::vector<fs::path> files;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
    if (entry->path().extension() == ".xml" && entry->is_regular_file()) files.push_back(entry->path());
  }
  if (error) {
    throw Failure("cannot read the locations folder \"" + directory.string() + "\": " + error.message() +
                  "; give the library directory with --library DIR");
  }
  if (files.empty()) {
    throw Failure("there is no locations file (*.xml) in \"" + directory.string() +
                  "\"; give the library directory with --library DIR");
  }
  std::ranges::sort(files);
  for (const fs::path& file : files) {
    const std::string fault = locationFileFault(file.string());
    if (!fault.empty()) {
      throw Failure("the locations file \"" + file.string() + "\" cannot be used: " + fault + "; correct or remove it");
    }
  }
}

}  // namespace tv
