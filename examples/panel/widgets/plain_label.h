// A label for texts that the service chooses: they are shown as they are, on as many lines as they
// need.

#ifndef EXAMPLES_PANEL_WIDGETS_PLAIN_LABEL_H
#define EXAMPLES_PANEL_WIDGETS_PLAIN_LABEL_H

#include <QLabel>

namespace panel {

class PlainLabel : public QLabel {
 public:
  explicit PlainLabel(const QString& text = QString()) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setText(text);
  }
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_WIDGETS_PLAIN_LABEL_H
