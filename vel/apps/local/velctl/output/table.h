// Texts for people in columns: tables, and fields of one thing.

#ifndef VEL_APPS_LOCAL_VELCTL_OUTPUT_TABLE_H
#define VEL_APPS_LOCAL_VELCTL_OUTPUT_TABLE_H

#include <string>
#include <utility>
#include <vector>

#include "vel/apps/local/velctl/output/terminal.h"

namespace velctl {

// Shown where the terminal has colour.
enum class Style { kPlain, kHeading, kGood, kWarning, kBad, kFaint };

struct Cell {
  std::string text;  // printable already
  Style style = Style::kPlain;
  bool isWhole = false;  // never cut, as a number

  // NOLINTBEGIN(google-explicit-constructor): rows are lists of texts.
  Cell(std::string given) : text(std::move(given)) {}
  Cell(const char* given) : text(given) {}
  // NOLINTEND(google-explicit-constructor)
  Cell(std::string given, Style itsStyle) : text(std::move(given)), style(itsStyle) {}
};

// Rows, under headings if there are any, in columns two blanks apart.
//
// Where the columns of the terminal are known, the widest columns of texts are cut until a line
// fits; never below 8 columns or the heading, so that a terminal that is too narrow for this gets
// lines that are too long. Numbers are never cut, and nothing is cut in a file or a pipe.
class Table {
 public:
  using Row = std::vector<Cell>;

  Table() = default;
  explicit Table(std::vector<std::string> headings);

  void add(Row row) { rows_.push_back(std::move(row)); }
  // Whether there is nothing under the headings.
  bool isEmpty() const { return rows_.empty(); }

  // Without a newline at the end. Empty for a table without headings and rows.
  std::string text(const Terminal& terminal) const;

 private:
  Row headings_;
  std::vector<Row> rows_;
};

// Lines of a name and a value, the values in one column. Lines of a value stand below each other,
// and nothing is cut: without a newline at the end.
std::string fieldsText(const std::vector<std::pair<std::string, Cell>>& fields,
                       const Terminal& terminal);

}  // namespace velctl

#endif  // VEL_APPS_LOCAL_VELCTL_OUTPUT_TABLE_H
