#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace durix::test {

/// Where the recorded broadcasts are: TV_CAPTURES, else beside the project; may be missing.
std::filesystem::path captureFolder();

/// The DVB recordings that have a description of their content; a single empty name when the folder is missing.
std::vector<std::string> dvbCaptures();

nlohmann::json truthOf(const std::string& capture);

std::vector<std::uint8_t> bytesOf(const std::string& capture);

}  // namespace durix::test
