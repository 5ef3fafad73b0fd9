#include <gtest/gtest.h>

#include "tests/host/Support.h"
#include "velmora/Option.h"
#include "velmora/Velmora.h"

namespace {

struct Changes : OptionListener {
  void optionChanged(Option* option) override { ids += option->getId() + "=" + option->getValue() + ";"; }
  std::string ids;
};

TEST(Option, TakesValuesOfItsTypeAndTellsRealChanges) {
  struct Row {
    const char* reason;
    OptionType type;
    std::vector<std::string> set;
    const char* told;
    const char* value;
    bool boolean;
    int integer;
  };
  const Row rows[] = {
      {"starts false", OPTION_BOOL, {}, "", "false", false, 0},
      {"starts at 0", OPTION_INTEGER, {}, "", "0", false, 0},
      {"starts empty", OPTION_TEXT_LIST, {}, "", "", false, 0},
      {"the value that is there tells nobody", OPTION_BOOL, {"false", "true", "true"}, "o=true;", "true", true, 0},
      {"no third truth", OPTION_BOOL, {"true", "yes", ""}, "o=true;", "true", true, 0},
      {"one number has one text", OPTION_INTEGER, {"7", "007"}, "o=7;", "7", false, 7},
      {"what is no number is refused", OPTION_INTEGER, {"5", "5x", "", "99999999999"}, "o=5;", "5", false, 5},
      {"the lowest number", OPTION_INTEGER, {"-2147483648"}, "o=-2147483648;", "-2147483648", false, INT32_MIN},
      {"any text, listed or not", OPTION_LOCATION_LIST, {"Rhône", ""}, "o=Rhône;o=;", "", false, 0},
      {"a text that reads as a number", OPTION_TEXT_LIST, {"12"}, "o=12;", "12", false, 12},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.reason);
    Changes changes;
    Option option;
    option.init(row.type, OPTION_CATEGORY_LANGUAGE, "owner", "o", "d", false);
    option.addOptionListener(&changes);
    for (const std::string& value : row.set) option.setValue(value);
    EXPECT_EQ(changes.ids, row.told);
    EXPECT_EQ(option.getValue(), row.value);
    EXPECT_EQ(option.getStringValue(), row.value);
    EXPECT_EQ(option.getBooleanValue(), row.boolean);
    EXPECT_EQ(option.getIntegerValue(), row.integer);
    EXPECT_EQ(Option::boolToString(&option), row.boolean ? "true" : "false");
    bool boolean = !row.boolean;
    int integer = -1;
    EXPECT_EQ(option.getValue(&boolean), row.type == OPTION_BOOL);
    EXPECT_EQ(boolean, row.type == OPTION_BOOL ? row.boolean : !row.boolean);
    EXPECT_EQ(option.getValue(&integer), row.type == OPTION_INTEGER);
    EXPECT_EQ(integer, row.type == OPTION_INTEGER ? row.integer : -1);
  }
}

TEST(Option, KeepsTheKindsOfValuesApart) {
  Option option;
  option.init(OPTION_TEXT_LIST, OPTION_CATEGORY_LANGUAGE, "owner", "o", "d", false);
  option.setValue("deu");  // a literal is a text, not a truth
  EXPECT_EQ(option.getValue(), "deu");
  option.setValue(static_cast<const char*>(nullptr));
  EXPECT_EQ(option.getValue(), "");
  option.init(OPTION_INTEGER, OPTION_CATEGORY_PLAYBACK, "owner", "o", "d", false);
  option.setValue(true);
  EXPECT_EQ(option.getIntegerValue(), 1);
  EXPECT_EQ(Option::boolToString(nullptr), "false");
}

TEST(OptionGroup, OwnsItsMembersAndHearsOfTheirChanges) {
  static int alive = 0;
  struct Counted : Option {
    Counted() { ++alive; }
    ~Counted() override { --alive; }
  };
  Changes inGroup;
  {
    OptionGroup outer;
    outer.init("owner", "outer", "d");
    auto* const inner = new OptionGroup;
    inner->init("owner", "inner", "d");
    auto* const member = new Counted;
    member->init(OPTION_BOOL, OPTION_CATEGORY_PLAYBACK, "owner", "member", "d", false);
    inner->addOption(member);
    inner->addOption(member);
    outer.addOption(inner);
    inner->addOptionListener(&inGroup);
    EXPECT_EQ(outer.getOption("inner"), inner);
    EXPECT_EQ(outer.getOption("member"), nullptr);
    EXPECT_EQ(inner->getOptions(), std::vector<Option*>{member});
    member->setValue(true);
    EXPECT_EQ(inGroup.ids, "inner=;");
  }
  EXPECT_EQ(alive, 0);
}

TEST(ParentalControl, BlocksContentRatedAboveTheViewersAgeWhileItIsOn) {
  class Rated : public AvContent {
   public:
    explicit Rated(int age) : AvContent(1, nullptr, AV_PROGRAM), _rating(ParentalRating::RATING_SYSTEM_AGE, age) {}
    ParentalRating* getParentalRating() override {
      ++asked;
      return &_rating;
    }
    int asked = 0;

   private:
    ParentalRating _rating;
  };
  OptionGroup* parental = nullptr;
  for (const OptionGroup* const group : Velmora::getInstance()->getOptions()) {
    auto* const found = dynamic_cast<OptionGroup*>(group->getOption("velmora.option.parentalcontrol.id"));
    if (found) parental = found;
  }
  ASSERT_NE(parental, nullptr);
  Changes changes;
  parental->addOptionListener(&changes);
  Option* const enabled = parental->getOption("velmora.option.parentalcontrol.enabled.id");
  Option* const age = parental->getOption("velmora.option.parentalcontrol.age.id");
  ASSERT_NE(enabled, nullptr);
  ASSERT_NE(age, nullptr);
  Rated content(16);
  EXPECT_FALSE(content.isBlockedByParentalControl());
  EXPECT_EQ(content.asked, 0);  // a rating may cost a call of the middleware
  enabled->setValue(true);
  EXPECT_EQ(changes.ids, "velmora.option.parentalcontrol.id=;");
  for (const auto& [viewer, blocked] : {std::pair(15, true), std::pair(16, false)}) {
    age->setValue(viewer);
    EXPECT_EQ(content.isBlockedByParentalControl(), blocked) << viewer;
  }
  age->setValue(4);
  EXPECT_FALSE(Rated(0).isBlockedByParentalControl());
  EXPECT_FALSE(AvContent(1, nullptr, AvContent::AV_PROGRAM).isBlockedByParentalControl());
  enabled->setValue(false);
}

}  // namespace
