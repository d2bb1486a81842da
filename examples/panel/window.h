// The window: VMs on the left, cards of devices and printers on the right, and a banner while the
// service is not available.

#ifndef EXAMPLES_PANEL_WINDOW_H
#define EXAMPLES_PANEL_WINDOW_H

#include <string>

#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QWidget>

#include "examples/panel/board.h"
#include "examples/panel/panel_model.h"
#include "examples/panel/vm_list.h"

namespace panel {

class Window : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(panel::Window)

 public:
  // The model must outlive the window.
  explicit Window(PanelModel& model);

  VmList& vms() { return vms_; }
  QLineEdit& search() { return search_; }
  QComboBox& filter() { return filter_; }
  Board& board() { return board_; }
  QWidget& content() { return content_; }
  QPushButton& retryButton() { return retryButton_; }
  bool hasBanner() const { return banner_.isVisibleTo(this); }
  QString bannerText() const { return bannerText_.text(); }
  QString summary() const { return summary_.text(); }

 private:
  void layOut();
  void addShortcuts();
  void showService();
  void showVms();
  void showThings();
  void showThing(const Number& number);
  void showCounts();
  void toggle(const Number& number);
  bool passes(const Thing& thing) const;
  QString chosenVm() const { return shownText(vms_.chosen()); }

  PanelModel& model_;
  QFrame banner_;
  QLabel bannerText_;
  QPushButton retryButton_;
  QWidget content_;
  VmList vms_;
  QLineEdit search_;
  QComboBox filter_;
  Board board_;
  QLabel summary_;
  // What had the focus when the content was greyed.
  QPointer<QWidget> focusBefore_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_WINDOW_H
