// Why something has failed, in words, and what to do about it.

#ifndef EXAMPLES_PANEL_SERVICE_PROBLEM_H
#define EXAMPLES_PANEL_SERVICE_PROBLEM_H

#include <QString>

#include "vel/client/client.h"

namespace panel {

// Whole sentences, for people. Both empty: there is no problem.
struct Problem {
  QString reason;
  QString remedy;  // empty: the reason says it

  bool isEmpty() const { return reason.isEmpty(); }
  // Reason and remedy on one line.
  QString text() const { return remedy.isEmpty() ? reason : reason + ' ' + remedy; }
};

// Where translations keep the texts that the panel takes from vel::Client.
inline constexpr char kForeignTexts[] = "advice";

Problem problemOf(const vel::Error& error);

// A text of the service as one line that a label may show: UTF-8, without characters that change
// the direction or the place of the text around them.
QString shownText(const std::string& text);

}  // namespace panel

#endif  // EXAMPLES_PANEL_SERVICE_PROBLEM_H
