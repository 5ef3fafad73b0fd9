#include "Table.h"

#include <gtest/gtest.h>

namespace tv {
namespace {

Table sample() {
  Table table({{"No", Column::RIGHT}, {"Channel", Column::LEFT, true}, {"Remarks"}});
  table.addRow({"5", "NHK\xE7\xB7\x8F\xE5\x90\x88", "protected"});
  table.addRow({"101", "Rai Radio Uno", ""});
  return table;
}

TEST(Table, AlignsByWhatIsShownAndLeavesNoBlanksAtTheEnd) {
  EXPECT_EQ(sample().layout(0, false),
            " No  Channel        Remarks\n"
            "  5  NHK\xE7\xB7\x8F\xE5\x90\x88        protected\n"
            "101  Rai Radio Uno\n");
}

TEST(Table, CutsOnlyFlexibleColumnsWhenTheTerminalIsNarrow) {
  EXPECT_EQ(sample().layout(24, false),
            " No  Channel   Remarks\n"
            "  5  NHK\xE7\xB7\x8F\xE5\x90\x88   protected\n"
            "101  Rai Rad\xE2\x80\xA6\n")
      << "the remarks are wider than their title and stay";
  EXPECT_EQ(sample().layout(3, false), sample().layout(24, false)) << "a column keeps a least width";
}

TEST(Table, PutsColoursAroundTextsOnly) {
  Table table({{"A"}, {"B"}});
  table.addRow({{"x", Tone::GOOD}, {"", Tone::BAD}});
  EXPECT_EQ(table.layout(0, true), "\033[1mA\033[0m  \033[1mB\033[0m\n\033[32mx\033[0m\n");
}

TEST(Table, TakesRowsOfAnyLength) {
  Table table({{"A"}, {"B"}});
  table.addRow({"1"});
  table.addRow({"1", "2", "3"});
  EXPECT_EQ(table.layout(0, false), "A  B\n1\n1  2\n");
}

}  // namespace
}  // namespace tv
