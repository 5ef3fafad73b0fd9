#pragma once

#include <string>
#include <vector>

/// The languages offered when no languages file says otherwise: ISO 639-2 codes, terminological and bibliographic.
std::vector<std::string> defaultLanguages();

/// The values of the "lang:VALUE" lines of a languages file, in their order. Lines that start with "#", are shorter
/// than 3 characters or have another number of ":"-separated parts are ignored.
std::vector<std::string> parseLanguages(const std::string& text);

/// The first 2048 bytes of a languages file; false when it cannot be opened or read.
bool readLanguagesFile(const std::string& path, std::string* text);
