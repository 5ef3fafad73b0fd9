#include "Table.h"

#include <algorithm>
#include <numeric>

#include "Text.h"

namespace tv {
namespace {

constexpr std::size_t GAP = 2;
constexpr std::size_t NARROWEST = 8;  // a flexible column is never cut below this

const char* sequence(Tone tone) {
  switch (tone) {
    case Tone::BOLD:
      return "\033[1m";
    case Tone::FAINT:
      return "\033[2m";
    case Tone::GOOD:
      return "\033[32m";
    case Tone::WARNING:
      return "\033[33m";
    case Tone::BAD:
      return "\033[31m";
    case Tone::ACCENT:
      return "\033[36m";
    case Tone::PLAIN:
      break;
  }
  return "";
}

}  // namespace

std::string toned(const std::string& text, Tone tone, bool colours) {
  if (!colours || tone == Tone::PLAIN || text.empty()) return text;
  return sequence(tone) + text + "\033[0m";
}

void Table::addRow(std::vector<Cell> cells) {
  cells.resize(_columns.size(), Cell(""));
  for (Cell& cell : cells) cell.text = printable(cell.text);
  _rows.push_back(std::move(cells));
}

std::vector<std::size_t> Table::widths(std::size_t limit) const {
  std::vector<std::size_t> result;
  for (std::size_t i = 0; i < _columns.size(); ++i) {
    std::size_t width = displayWidth(_columns[i].title);
    for (const auto& row : _rows) width = std::max(width, displayWidth(row[i].text));
    result.push_back(width);
  }
  std::size_t total = std::accumulate(result.begin(), result.end(), GAP * (result.size() - 1));
  while (limit != 0 && total > limit) {
    std::size_t* widest = nullptr;
    for (std::size_t i = 0; i < result.size(); ++i) {
      if (_columns[i].flexible && result[i] > NARROWEST && (widest == nullptr || result[i] > *widest)) {
        widest = &result[i];
      }
    }
    if (widest == nullptr) break;
    --*widest;
    --total;
  }
  return result;
}

std::string Table::layout(std::size_t width, bool colours) const {
  const std::vector<std::size_t> columnWidths = widths(width);
  std::string result;
  const auto addLine = [&](const std::vector<Cell>& cells) {
    std::string line;
    std::size_t owed = 0;  // blanks that are written only when something follows
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const std::string text = cutToWidth(cells[i].text, columnWidths[i]);
      const std::size_t blanks = columnWidths[i] - std::min(columnWidths[i], displayWidth(text));
      const bool right = _columns[i].align == Column::RIGHT;
      if (!text.empty()) {
        line.append(owed + (right ? blanks : 0), ' ').append(toned(text, cells[i].tone, colours));
        owed = right ? 0 : blanks;
      } else {
        owed += blanks;
      }
      owed += GAP;
    }
    result += line + '\n';
  };
  std::vector<Cell> titles;
  for (const Column& column : _columns) titles.emplace_back(column.title, Tone::BOLD);
  addLine(titles);
  for (const auto& row : _rows) addLine(row);
  return result;
}

}  // namespace tv
