#include "vel/apps/local/velctl/output/table.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "base/text.h"
#include "vel/apps/local/velctl/output/width.h"

namespace velctl {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastWidth = 8;

struct Column {
  std::size_t width = 0;
  std::size_t least = kLeastWidth;
  bool hasTexts = false;
};

// 12, -3, 0x7f, 046d:c52b, 10.0.0.7: a part of such a text would be another number.
bool isNumber(std::string_view text) {
  return text.find_first_of("0123456789-") == 0 &&
         text.find_first_not_of("0123456789abcdefABCDEFx.:-") == std::string_view::npos;
}

std::string_view codesOf(Style style) {
  switch (style) {
    case Style::kPlain:
      return "";
    case Style::kHeading:
      return "\x1b[1m";
    case Style::kGood:
      return "\x1b[32m";
    case Style::kWarning:
      return "\x1b[33m";
    case Style::kBad:
      return "\x1b[31m";
    case Style::kFaint:
      return "\x1b[2m";
  }
  return "";
}

std::string styled(std::string text, Style style, const Terminal& terminal) {
  if (!terminal.hasColour || style == Style::kPlain || text.empty()) {
    return text;
  }
  return std::string(codesOf(style)) + text + "\x1b[0m";
}

void measure(const Table::Row& row, bool isHeading, std::vector<Column>* columns) {
  columns->resize(std::max(columns->size(), row.size()));
  for (std::size_t i = 0; i < row.size(); ++i) {
    Column& column = (*columns)[i];
    const std::size_t width = widthOf(row[i].text);
    column.width = std::max(column.width, width);
    if (isHeading) {
      column.least = std::max(column.least, width);
    } else if (!row[i].text.empty() && !row[i].isWhole && !isNumber(row[i].text)) {
      column.hasTexts = true;
    }
  }
}

void shrink(std::vector<Column>* columns, std::size_t most) {
  std::size_t all = columns->empty() ? 0 : (columns->size() - 1) * kGap;
  for (const Column& column : *columns) {
    all += column.width;
  }
  const auto spare = [](const Column& column) {
    return column.hasTexts && column.width > column.least;
  };
  for (; all > most; --all) {
    Column* widest = nullptr;
    for (Column& column : *columns) {
      if (spare(column) && (!widest || column.width > widest->width)) {
        widest = &column;
      }
    }
    if (!widest) {
      return;
    }
    --widest->width;
  }
}

// Blanks are written before a cell, so that none stand at the end of a line.
std::string lineOf(const Table::Row& row, const std::vector<Column>& columns,
                   const Terminal& terminal) {
  std::string line;
  std::size_t blanks = 0;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const std::string text = cutToWidth(row[i].text, columns[i].width);
    if (!text.empty()) {
      line.append(blanks, ' ').append(styled(text, row[i].style, terminal));
      blanks = 0;
    }
    blanks += columns[i].width - widthOf(text) + kGap;
  }
  return line;
}

}  // namespace

Table::Table(std::vector<std::string> headings) {
  for (std::string& heading : headings) {
    headings_.emplace_back(std::move(heading), Style::kHeading);
  }
}

std::string Table::text(const Terminal& terminal) const {
  std::vector<Column> columns;
  measure(headings_, true, &columns);
  for (const Row& row : rows_) {
    measure(row, false, &columns);
  }
  if (terminal.columns) {
    shrink(&columns, *terminal.columns);
  }
  std::vector<std::string> lines;
  if (!headings_.empty()) {
    lines.push_back(lineOf(headings_, columns, terminal));
  }
  for (const Row& row : rows_) {
    lines.push_back(lineOf(row, columns, terminal));
  }
  return base::joined(lines, "\n");
}

std::string fieldsText(const std::vector<std::pair<std::string, Cell>>& fields,
                       const Terminal& terminal) {
  std::size_t widest = 0;
  for (const auto& [name, value] : fields) {
    widest = std::max(widest, widthOf(name));
  }
  std::vector<std::string> lines;
  for (const auto& [name, value] : fields) {
    std::string line = styled(name, Style::kHeading, terminal);
    std::size_t blanks = widest - widthOf(name) + kGap;
    std::string_view rest = value.text;
    do {
      const std::string_view part = rest.substr(0, rest.find('\n'));
      if (!part.empty()) {
        line.append(blanks, ' ').append(styled(std::string(part), value.style, terminal));
      }
      lines.push_back(std::exchange(line, ""));
      rest.remove_prefix(std::min(rest.size(), part.size() + 1));
      blanks = widest + kGap;
    } while (!rest.empty());
  }
  return base::joined(lines, "\n");
}

}  // namespace velctl
