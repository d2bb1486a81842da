// The pages of the window and the bar that switches between them. Ctrl+1 shows the first page,
// Ctrl+PageDown the next one.

#ifndef EXAMPLES_PANEL_PAGES_H
#define EXAMPLES_PANEL_PAGES_H

#include <QCoreApplication>
#include <QTabWidget>

namespace panel {

class Pages : public QTabWidget {
  Q_DECLARE_TR_FUNCTIONS(panel::Pages)

 public:
  Pages();

  // Takes a page, which becomes the last one.
  void add(QWidget* page, const QString& title);

  // The page of this type, which must be there.
  template <typename Page>
  Page& page() const {
    for (int index = 0; index < count(); ++index) {
      if (auto* const found = dynamic_cast<Page*>(widget(index))) {
        return *found;
      }
    }
    qFatal("there is no such page");
  }

 private:
  void turn(int step);
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_PAGES_H
