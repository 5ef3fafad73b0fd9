#include <gtest/gtest.h>

#include <algorithm>

#include "BroadcastPluginImpl.h"
#include "Stage.h"
#include "velmora/Option.h"

namespace {

constexpr const char* PLACES = R"(<locations>
  <location><name>Town</name><icon>t</icon><type>DVB-T</type></location>
  <location><name>Town</name><icon>c</icon><type>DVB-C</type></location>
  <location><name>Hill</name><icon>h</icon></location></locations>)";

/// One line for each option: its numbers and keys, its value and what it offers.
Lines describe(const OptionGroup& group) {
  Lines lines;
  for (const Option* const option : group.getOptions()) {
    std::string offered;
    for (const std::string& value : option->getPossibleStringValuesList()) offered += " " + value;
    lines.push_back(std::to_string(option->getType()) + " " + std::to_string(option->getCategory()) + " " +
                    option->getOwner() + " " + option->getId() + " " + option->getDescription() + " [" +
                    option->getValue() + "]" + offered);
  }
  return lines;
}

/// What building the settings writes, of all that a start writes.
std::string buildingOf(const Lines& start) {
  const auto first = std::find_if(start.begin(), start.end(),
                                  [](const std::string& line) { return line.starts_with("INFO loading languages"); });
  return asText(Lines(first, std::find(first, start.end(), "durix_allow_updates()")));
}

class Settings : public testing::Test {
 protected:
  ~Settings() override { Velmora::getInstance()->setProperty("esg_language", ""); }
  void start() { plugin = static_cast<BroadcastPluginImpl*>(stage.startedPlugin()); }
  std::string startLines() {
    plugin = static_cast<BroadcastPluginImpl*>(stage.plugin());
    plugin->init("/data", stage.library.c_str());
    return buildingOf(stage.take());
  }
  Option* option(const std::string& name) {
    Option* const found = plugin->getOptions()->front()->getOption("settings.option.id." + name);
    stage.drop();
    return found;
  }

  template <typename Value>
  Lines change(const std::string& name, Value value) {
    option(name)->setValue(value);
    return stage.take();
  }

  Stage stage;
  BroadcastPluginImpl* plugin = nullptr;
};

TEST_F(Settings, AreOneGroupInTheStatedOrder) {
  stage.addLocations("places.xml", PLACES);
  stage.properties = {{DURIX_PROPERTY_HIDE_RADIO, "yes"}};
  start();
  ASSERT_EQ(plugin->getOptions()->size(), 1U);
  EXPECT_EQ(stage.take(), Lines{"INFO BroadcastPluginImpl::getOptions()"});
  const OptionGroup& group = *plugin->getOptions()->front();
  EXPECT_EQ(group.getOwner() + " " + group.getId() + " " + group.getDescription(),
            "BC_PLUGIN BC_PLUGIN_OPTIONS BroadcastPlugins options");
  EXPECT_EQ(asText(describe(group)), expected("settings"));
  EXPECT_EQ(stage.originOf("BroadcastPluginImpl::getOptions()"), "BC_PLUGIN plugins/dvbt/src/BroadcastPluginImpl");
}

TEST_F(Settings, OfferEveryLanguageWithoutAFileOfThem) {
  struct Row {
    const char* reason;
    const char* file;  // null: there is none
    const char* chosen;
    const char* transcript;
  };
  for (const Row& row :
       {Row{"no file", nullptr, "fin", "settings_without_languages_file"},
        Row{"a file without a language", "# lang:eng\nlang:deu:eng\nlangs:deu\n", "", "settings_without_languages"}}) {
    stage.close();
    stage.properties = {{DURIX_PROPERTY_HIDE_RADIO, "true"}, {DURIX_PROPERTY_HIDE_PROTECTED, "no"}};
    stage.files.clear();
    if (row.file != nullptr) stage.files["/lib/scan_conf.txt"] = row.file;
    Velmora::getInstance()->setProperty("esg_language", row.chosen);
    EXPECT_EQ(startLines(), expected(row.transcript)) << row.reason;
    Lines all;
    plugin->getAllLanguages(&all);
    EXPECT_EQ(all.size(), 188U);
    for (const char* const name : {"esg.language", "audio.language", "subtitle.language"}) {
      EXPECT_EQ(option(name)->getValue(), row.chosen) << name;
      EXPECT_EQ(option(name)->getPossibleStringValuesList(), all) << name;
    }
    EXPECT_EQ(plugin->getPreferredAudioLanguage(), row.chosen);
    EXPECT_EQ(stage.openFiles, 0);
  }
  EXPECT_EQ(stage.originOf("file read failed: /lib/scan_conf.txt"), "BC_PLUGIN plugins/dvbt/src/BroadcastPluginImpl");
}

TEST_F(Settings, DoWhatIsStatedWhenTheyChange) {
  stage.addLocations("places.xml", PLACES);
  start();
  EXPECT_EQ(change("esg.language", "deu"), Lines{"durix_property_set(1,deu)"});
  EXPECT_EQ(change("esg.language", "deu"), Lines{}) << "no change";
  EXPECT_EQ(change("audio.language", "swe"), Lines{"durix_property_set(2,swe)"});
  EXPECT_EQ(change("subtitle.language", "fin"), Lines{});
  EXPECT_EQ(change("hide.radio", true), Lines{"durix_property_set(15,true)"});
  EXPECT_EQ(change("hide.protected", false), Lines{"durix_property_set(14,false)"});
  EXPECT_EQ(change("enable.subtitles", true), Lines{});
  EXPECT_EQ(change("timeshift.length", 45), Lines{});
  EXPECT_EQ(change("location", "Town"), Lines(2, "INFO New scan conf set location = Town")) << "two bear the name";
  EXPECT_EQ(change("location", "Hill"), Lines{"INFO New scan conf set location = Hill"});
  EXPECT_EQ(change("location", "Nowhere"), Lines{});
  EXPECT_EQ(plugin->getPreferredAudioLanguage() + plugin->getPreferredSubtitleLanguage(), "swefin");
  EXPECT_TRUE(plugin->isSubtitlesEnabled());
  EXPECT_EQ(plugin->getTimeshiftDuration(), 45);

  // What is no member of the group comes from the host.
  EXPECT_FALSE(plugin->isPreferredAudioTypeMultiChannel());
  Option multichannel;
  multichannel.init(OPTION_BOOL, OPTION_CATEGORY_PLAYBACK, "", "settings.option.id.prefer.multichannel.audio", "",
                    false);
  multichannel.setValue(true);
  plugin->optionChanged(&multichannel);
  EXPECT_TRUE(plugin->isPreferredAudioTypeMultiChannel());
  plugin->optionChanged(nullptr);
  EXPECT_EQ(stage.take(), Lines{});
  plugin->getOptions()->front()->getOption("velmora.option.channel_list.id")->setValue("now");
  EXPECT_EQ(stage.take(), (Lines{"INFO BroadcastPluginImpl::getOptions()", "INFO Update Channel list"}));
  for (const char* const message : {"Update Channel list", "New scan conf set location = Hill"}) {
    EXPECT_EQ(stage.originOf(message), "BC_PLUGIN plugins/dvbt/src/BroadcastPluginImpl") << message;
  }
  EXPECT_FALSE(plugin->getContentCreated());
  plugin->setContentCreated(true);
  EXPECT_TRUE(plugin->getContentCreated());
}

TEST_F(Settings, ReachThePlayerThatIsOn) {
  stage.addProvider(1);
  stage.addService(11, "One", 1, 1);
  start();
  stage.receiverOn();
  Player* const player = plugin->createPlayer(plugin->getServices().front(), nullptr, nullptr);
  ASSERT_NE(player, nullptr);
  EXPECT_EQ(change("subtitle.language", "deu"), Lines{}) << "no subtitles are shown";
  EXPECT_EQ(change("enable.subtitles", true), Lines{"INFO BroadcastPlayer::enableSubtitles: 1"});
  EXPECT_EQ(change("subtitle.language", "eng"),
            (Lines{"INFO BroadcastPlayer::enableSubtitles: 0", "INFO BroadcastPlayer::enableSubtitles: 1"}));
  EXPECT_EQ(change("audio.language", "deu"),
            (Lines{"durix_property_set(2,deu)", "INFO BroadcastPlayer::changeAudioLanguage: deu"}));
  delete player;
}

}  // namespace
