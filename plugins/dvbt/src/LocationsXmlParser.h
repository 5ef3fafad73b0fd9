#pragma once

#include <tinyxml.h>

#include <string>
#include <vector>

#include "BCLocation.h"
#include "durix/durix.h"
#include "velmora/Types.h"

/// Reads locations files (docs/LOCATIONS.md). One document is used for every file: its user lets one thread in at a
/// time.
class LocationsXmlParser {
 public:
  LocationsXmlParser() = default;
  LocationsXmlParser(const LocationsXmlParser&) = delete;
  LocationsXmlParser& operator=(const LocationsXmlParser&) = delete;
  virtual ~LocationsXmlParser();

  /// The locations of a file in document order, without frequencies. The caller owns them.
  std::vector<BCLocation*> createBCLocations(const std::string& path);

  /// Reads the location's file again for its frequencies and attaches them as its scan configuration. From the moment
  /// that the file could be loaded an empty configuration is attached, also when the rest fails.
  bool parseBCLocationData(BCLocation* location);

  /// Each appends the frequencies of one element; false when the node is of another kind, and for a range without end
  /// or step. A range that makes the list longer than any scan can be throws std::length_error.
  static bool parseSingle(TiXmlNode* node, std::vector<durix_scan_frequency>& frequencies);
  static bool parseRange(TiXmlNode* node, std::vector<durix_scan_frequency>& frequencies);

  // Words of the files to the middleware's numbers (LocationsXmlTables.cpp); -1, for a receiver 0, where unknown.
  static int getDurixModulation(const std::string& text);
  static int getDurixFec(int codeRate);  // the digits of the code rate: 34 is 3/4
  static int getDurixPolarisation(const std::string& text);
  static ReceiverType getReceiverType(const std::string& text);

 private:
  bool load(const std::string& path);
  TiXmlElement* findLocation(const BCLocation& location);
  static bool parseFrequencies(TiXmlElement& element, BCLocation& location);

  TiXmlDocument _document;
};
