#include "settings/SettingsOptions.h"

#include <gtest/gtest.h>

#include "ChannelListOption.h"
#include "GuideMiddleware.h"
#include "core/OptionKeys.h"
#include "plugin_channels/TestPlugin.h"
#include "settings/Languages.h"
#include "tuning/LocationCatalogue.h"
#include "velmora/Velmora.h"

namespace {

using Texts = std::vector<std::string>;

class SettingsOptionsTest : public testing::Test, public SettingsHost {
 protected:
  SettingsOptionsTest() { Velmora::getInstance()->setProperty("system.library_directory", "/lib"); }

  void build() {
    settings.build();
    middleware.calls();
    middleware.lines();
  }
  OptionGroup* group() { return settings.getOptions()->front(); }

  bool hasRecorder() override { return recorder; }
  void setDurixProperty(const std::string& /*name*/, const std::string& /*value*/) override {}
  std::string getDurixProperty(durix_property /*number*/) override { return {}; }
  void selectLocation(BCLocation* /*location*/) override {}
  void enableSubtitles(bool /*enabled*/) override {}
  void changeAudioLanguage(const std::string& /*language*/) override {}

  GuideMiddleware middleware;
  TestPlugin plugin;
  LocationCatalogue locations;
  bool recorder = true;
  SettingsOptions settings{locations, plugin, *this};
};

TEST(Languages, AreTakenFromTheLinesThatNameThem) {
  struct Row {
    const char* reason;
    std::string text;
    Texts languages;
  };
  const Row rows[] = {{"in file order, trailing blanks removed", "lang:deu\nlang:eng \t\r\n", {"deu", "eng"}},
                      {"comments and other lines", "#lang:fin\nfoo:bar\nlang\nla\n", {}},
                      {"three parts", "lang:deu:eng\n", {}},
                      {"runs of separators make no part", ":lang::deu:\n\n\nlang:eng", {"deu", "eng"}},
                      {"the name stands at the start of the line", " lang:deu\n", {}},
                      {"leading blanks belong to the value", "lang: deu\n", {" deu"}},
                      {"blanks only are the empty language", "lang:  \n", {""}},
                      {"nothing", "", {}}};
  for (const Row& row : rows) EXPECT_EQ(parseLanguages(row.text), row.languages) << row.reason;
}

TEST(Languages, HaveTheContractsListAsDefault) {
  const Texts codes = defaultLanguages();
  ASSERT_EQ(codes.size(), 188U);
  EXPECT_EQ(codes.front(), "aar");
  EXPECT_EQ(codes[187], "zul");
  EXPECT_EQ(codes[94], "lin");  // the middle: no code was lost before it and doubled after
  for (const std::string& code : codes) EXPECT_EQ(code.size(), 3U) << code;
}

TEST_F(SettingsOptionsTest, ReadsNoMoreOfALanguagesFileThanItsBeginning) {
  const std::string path = "/lib/scan_conf.txt";
  const std::string comment = "#" + std::string(2036, 'x') + "\n";  // 2038 bytes
  middleware.files[path] = comment + "lang:deu\nlang:eng\n";
  EXPECT_TRUE(settings.loadEsgLanguages(path));
  middleware.files[path] = comment + "xlang:deu\n";
  EXPECT_FALSE(settings.loadEsgLanguages(path));
  middleware.files[path] = std::string("#\0\nlang:deu\n", 12);  // text ends at its first NUL
  EXPECT_FALSE(settings.loadEsgLanguages(path));
  EXPECT_FALSE(settings.loadEsgLanguages("/none"));
  EXPECT_EQ(middleware.lines(), Texts{"ERR file read failed: /none"});
}

TEST_F(SettingsOptionsTest, OffersItsOptionsInTheStatedOrder) {
  const Texts with{OPTION_ID_ENABLE_SUBTITLES, OPTION_ID_TIMESHIFT_LENGTH,  OPTION_ID_ESG_LANGUAGE,
                   OPTION_ID_AUDIO_LANGUAGE,   OPTION_ID_SUBTITLE_LANGUAGE, OPTION_ID_LOCATION,
                   CHANNEL_LIST_OPTION_ID,     OPTION_ID_HIDE_RADIO,        OPTION_ID_HIDE_PROTECTED};
  Texts without = with;
  without.erase(without.begin() + 1);
  for (const bool has : {true, false}) {
    recorder = has;
    build();
    Texts ids;
    for (const Option* const option : group()->getOptions()) ids.push_back(option->getId());
    EXPECT_EQ(ids, has ? with : without);
  }
  EXPECT_EQ(settings.getOptions()->size(), 1U) << "built anew, not twice";
  EXPECT_EQ(group()->getId(), "BC_PLUGIN_OPTIONS");
  EXPECT_EQ(group()->getOwner(), plugin.getId());
  settings.deleteGroups();
  EXPECT_TRUE(settings.getOptions()->empty());
  EXPECT_EQ(settings.getPreferredAudioLanguage() + settings.getPreferredSubtitleLanguage(), "");
  EXPECT_EQ(settings.locationOption(), nullptr);
}

}  // namespace
