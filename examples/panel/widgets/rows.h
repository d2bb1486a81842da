// The rows of a list that is read again and again. The row that is chosen stays chosen wherever it
// stands then: what a person has chosen to remove must not become another one.

#ifndef EXAMPLES_PANEL_WIDGETS_ROWS_H
#define EXAMPLES_PANEL_WIDGETS_ROWS_H

#include <string>
#include <vector>

#include <QString>

class QListWidget;

namespace panel {

struct Row {
  std::string key;  // the same at the next reading
  QString text;
};

// Emits no signal of the list. When the chosen row has gone, its place is chosen.
void showRows(QListWidget& list, const std::vector<Row>& rows);

}  // namespace panel

#endif  // EXAMPLES_PANEL_WIDGETS_ROWS_H
