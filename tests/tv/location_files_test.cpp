#include "LocationFiles.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "Failure.h"

namespace fs = std::filesystem;

namespace tv {
namespace {

/// A library directory that goes with the test.
class LocationFiles : public testing::Test {
 protected:
  void SetUp() override { fs::create_directories(_library / "locations"); }
  void TearDown() override { fs::remove_all(_library); }

  std::string write(const std::string& name, const std::string& text) const {
    const fs::path path = _library / "locations" / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }

  const fs::path _library = fs::temp_directory_path() / ("tv_location_files_" + std::to_string(getpid()));
};

std::string around(const std::string& frequencies) {
  return "<locations><location><name>A</name><type>DVB-T</type><frequencies>" + frequencies +
         "</frequencies></location></locations>";
}

TEST_F(LocationFiles, AreRefusedForWhatWouldScanNonsense) {
  const struct {
    std::string text;
    const char* told;  // empty: nothing is wrong
    const char* why;
  } rows[] = {{around("<single frequency=\"474000000\" bandwidth=\"8000000\"/>"), "", "a sound file"},
              {around("<range start=\"474000000\" end=\"858000000\" step=\"8000000\"/>"), "", "a raster"},
              {around("<range start=\"858000000\" end=\"474000000\" step=\"1\"/>"), "", "an empty range gives none"},
              {around("<range start=\"1\" end=\"9\" step=\"0\"/>"), "", "no step gives none"},
              {"<locations><location/></locations>", "", "without a name it is skipped"},
              {"", "", "an empty file"},
              {"<locations><location></locations>", "line", "tags that do not match"},
              {"not XML at all", "", "no markup"},
              {"<places><location/></places>", "root element", "another root"},
              {"<locations/>", "no location", "nothing in it"},
              {around("<single frequency=\"-474000000\"/>"), "frequency=\"-474000000\"", "a negative frequency"},
              {around("<single frequency=\"474 MHz\"/>"), "frequency=\"474 MHz\"", "a unit"},
              {around("<single frequency=\"474000000\" bandwidth=\"99999999999\"/>"), "bandwidth", "more than 32 bits"},
              {around("<range start=\"0\" end=\"4294967295\" step=\"1\"/>"), "4294967296 frequencies", "a huge range"}};
  for (const auto& row : rows) {
    const std::string fault = locationFileFault(write("a.xml", row.text));
    const bool sound = row.text.starts_with("<locations><location") && *row.told == '\0';
    EXPECT_EQ(fault.empty(), sound) << row.why << ": " << fault;
    EXPECT_NE(fault.find(row.told), std::string::npos) << row.why << ": " << fault;
  }
}

TEST_F(LocationFiles, AreNamedWithTheirFault) {
  write("fine.xml", around(""));
  write("notes.txt", "not a locations file");
  EXPECT_NO_THROW(checkLocationFiles(_library.string()));
  write("broken.xml", "<locations>");
  try {
    checkLocationFiles(_library.string());
    FAIL() << "a broken file was taken";
  } catch (const Failure& failure) {
    EXPECT_NE(std::string(failure.what()).find("broken.xml"), std::string::npos) << failure.what();
    EXPECT_EQ(failure.status(), EXIT_FAILED);
  }
}

TEST_F(LocationFiles, AreMissedWhenThereIsNoFolderOrNone) {
  EXPECT_THROW(checkLocationFiles(_library.string()), Failure) << "an empty folder";
  fs::remove_all(_library / "locations");
  EXPECT_THROW(checkLocationFiles(_library.string()), Failure) << "no folder";
}

}  // namespace
}  // namespace tv
