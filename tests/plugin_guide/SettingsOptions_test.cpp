#include "settings/SettingsOptions.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

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
  std::string valueOf(const std::string& id) { return group()->getOption(id)->getValue(); }

  /// What a change of an option that the host hands in does.
  template <typename Value>
  Texts change(const std::string& id, Value value) {
    Option option;
    const bool number = std::is_same_v<Value, int>;
    const OptionType type = std::is_same_v<Value, bool> ? OPTION_BOOL : number ? OPTION_INTEGER : OPTION_TEXT_LIST;
    option.init(type, OPTION_CATEGORY_PLAYBACK, "", id, "", false);
    option.setValue(value);
    settings.optionChanged(&option);
    return middleware.calls();
  }

  bool hasRecorder() override { return recorder; }
  void setDurixProperty(const std::string& name, const std::string& value) override {
    middleware.note(name + "=" + value);
  }
  std::string getDurixProperty(durix_property number) override { return properties[number]; }
  void selectLocation(BCLocation* /*location*/) override { middleware.note("location"); }
  void enableSubtitles(bool enabled) override { middleware.note(enabled ? "subtitles on" : "subtitles off"); }
  void changeAudioLanguage(const std::string& language) override { middleware.note("audio " + language); }

  GuideMiddleware middleware;
  TestPlugin plugin;
  LocationCatalogue locations;
  bool recorder = true;
  std::map<durix_property, std::string> properties;
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

TEST_F(SettingsOptionsTest, StartsTheHideOptionsAtTheMiddlewaresValues) {
  struct Row {
    const char* text;
    const char* radio;
    const char* guarded;
  };
  const Row rows[] = {
      {"", "false", "true"}, {"true", "true", "true"}, {"false", "false", "false"}, {"1", "true", "false"}};
  for (const Row& row : rows) {
    properties = {{DURIX_PROPERTY_HIDE_RADIO, row.text}, {DURIX_PROPERTY_HIDE_PROTECTED, row.text}};
    build();
    EXPECT_EQ(valueOf(OPTION_ID_HIDE_RADIO), row.radio) << row.text;
    EXPECT_EQ(valueOf(OPTION_ID_HIDE_PROTECTED), row.guarded) << row.text;
  }
}

TEST_F(SettingsOptionsTest, OffersTheLanguagesOfTheFileOrElseAll) {
  middleware.files["/lib/scan_conf.txt"] = "lang:deu\nlang:eng\n";
  settings.build();
  EXPECT_EQ(middleware.lines(),
            (Texts{"INFO loading languages from: /lib/scan_conf.txt", "INFO adding language option: deu",
                   "INFO adding language option: eng", "INFO loadLocationFileNames /lib/locations/"}));
  for (const std::string& id : {OPTION_ID_ESG_LANGUAGE, OPTION_ID_AUDIO_LANGUAGE, OPTION_ID_SUBTITLE_LANGUAGE}) {
    EXPECT_EQ(valueOf(id), "deu");
    EXPECT_EQ(group()->getOption(id)->getPossibleStringValuesList(), (Texts{"deu", "eng"}));
  }
  middleware.files.clear();
  Velmora::getInstance()->setProperty("esg_language", "fin");
  build();
  EXPECT_EQ(settings.getPreferredAudioLanguage(), "fin");
  EXPECT_EQ(settings.getPreferredSubtitleLanguage(), "fin");
  EXPECT_EQ(group()->getOption(OPTION_ID_ESG_LANGUAGE)->getPossibleStringValuesList(), defaultLanguages());
}

TEST_F(SettingsOptionsTest, AppliesWhatChanges) {
  EXPECT_EQ(change(OPTION_ID_ESG_LANGUAGE, "deu"), Texts{OPTION_ID_ESG_LANGUAGE + "=deu"});
  EXPECT_EQ(change(OPTION_ID_HIDE_PROTECTED, true), Texts{OPTION_ID_HIDE_PROTECTED + "=true"});
  EXPECT_EQ(change(OPTION_ID_HIDE_RADIO, false), Texts{OPTION_ID_HIDE_RADIO + "=false"});
  EXPECT_EQ(change(OPTION_ID_AUDIO_LANGUAGE, "eng"), (Texts{OPTION_ID_AUDIO_LANGUAGE + "=eng", "audio eng"}));
  EXPECT_EQ(change(OPTION_ID_SUBTITLE_LANGUAGE, "eng"), Texts{}) << "no subtitles are shown";
  EXPECT_EQ(change(OPTION_ID_ENABLE_SUBTITLES, true), Texts{"subtitles on"});
  EXPECT_TRUE(settings.isSubtitlesEnabled());
  EXPECT_EQ(change(OPTION_ID_SUBTITLE_LANGUAGE, "fin"), (Texts{"subtitles off", "subtitles on"}));
  EXPECT_EQ(change(OPTION_ID_PREFER_MULTICHANNEL_AUDIO, true), Texts{});
  EXPECT_TRUE(settings.isPreferredAudioTypeMultiChannel());
  EXPECT_EQ(settings.getTimeshiftDuration(), 120);
  EXPECT_EQ(change(OPTION_ID_TIMESHIFT_LENGTH, 45), Texts{});
  EXPECT_EQ(settings.getTimeshiftDuration(), 45);
  EXPECT_EQ(change(OPTION_ID_LOCATION, "nowhere"), Texts{});
  EXPECT_EQ(middleware.lines(), Texts{});
  EXPECT_EQ(change(CHANNEL_LIST_OPTION_ID, true), Texts{});
  EXPECT_EQ(middleware.lines(), Texts{"INFO Update Channel list"});
  EXPECT_EQ(change("another", true), Texts{});
  settings.optionChanged(nullptr);
  EXPECT_EQ(middleware.lines(), Texts{});
}

TEST_F(SettingsOptionsTest, HearsOfItsOwnOptions) {
  build();
  for (Option* const option : group()->getOptions()) {
    if (option->getType() == OPTION_BOOL) option->setValue(!option->getBooleanValue());
  }
  group()->getOption(OPTION_ID_AUDIO_LANGUAGE)->setValue("swe");
  EXPECT_EQ(middleware.calls(),
            (Texts{"subtitles on", OPTION_ID_HIDE_RADIO + "=true", OPTION_ID_HIDE_PROTECTED + "=false",
                   OPTION_ID_AUDIO_LANGUAGE + "=swe", "audio swe"}));
  EXPECT_EQ(settings.getPreferredAudioLanguage(), "swe");
}

}  // namespace
