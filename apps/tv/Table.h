#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace tv {

/// Emphasis on a terminal; nothing elsewhere.
enum class Tone { PLAIN, BOLD, FAINT, GOOD, WARNING, BAD, ACCENT };

/// `text` in its tone, or as it is without colours.
std::string toned(const std::string& text, Tone tone, bool colours);

struct Cell {
  Cell(std::string cellText, Tone cellTone = Tone::PLAIN) : text(std::move(cellText)), tone(cellTone) {}
  Cell(const char* cellText) : text(cellText) {}

  std::string text;
  Tone tone = Tone::PLAIN;
};

struct Column {
  std::string title;
  enum Align { LEFT, RIGHT } align = LEFT;
  bool flexible = false;  // gives way when the table is wider than the terminal
};

/// Rows in aligned columns, measured by what a terminal shows.
class Table {
 public:
  explicit Table(std::vector<Column> columns) : _columns(std::move(columns)) {}

  void addRow(std::vector<Cell> cells);
  bool empty() const { return _rows.empty(); }

  /// Lines that end with a line feed. `width` is what a line may take at most, 0 for any length; only flexible columns
  /// are cut for it. No line ends with blanks.
  std::string layout(std::size_t width, bool colours) const;

 private:
  std::vector<std::size_t> widths(std::size_t limit) const;

  std::vector<Column> _columns;
  std::vector<std::vector<Cell>> _rows;
};

}  // namespace tv
