// The page of devices and printers: search, filter, and a board of cards.

#ifndef EXAMPLES_PANEL_THINGS_THINGS_PAGE_H
#define EXAMPLES_PANEL_THINGS_THINGS_PAGE_H

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QWidget>

#include "examples/panel/cameras/turbo_dialog.h"
#include "examples/panel/diagnosis/diagnosis_dialog.h"
#include "examples/panel/things/board.h"
#include "examples/panel/things/things_model.h"
#include "examples/panel/vms/vm_list.h"

namespace panel {

class ThingsPage : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(panel::ThingsPage)

 public:
  // Service, model and list must outlive the page. The chosen VM is where switches attach to.
  ThingsPage(Service& service, ThingsModel& model, VmList& vms);

  QLineEdit& search() { return search_; }
  QComboBox& filter() { return filter_; }
  Board& board() { return board_; }
  QString summary() const { return summary_.text(); }
  // Those that were opened last; null: there is none, or it has gone.
  DiagnosisDialog* diagnosis() { return diagnosis_; }
  TurboDialog* turbo() { return turbo_; }

 private:
  void layOut();
  void addShortcuts();
  void showThings();
  void showThing(const Number& number);
  void showCounts();
  void toggle(const Number& number);
  void diagnose(const Number& number);
  void configureTurbo(const Number& number);
  void open(QDialog& dialog);
  bool passes(const Thing& thing) const;
  QString chosenVm() const { return shownText(vms_.chosen()); }

  Service& service_;
  ThingsModel& model_;
  VmList& vms_;
  QLineEdit search_;
  QComboBox filter_;
  Board board_;
  QLabel summary_;
  QPointer<DiagnosisDialog> diagnosis_;
  QPointer<TurboDialog> turbo_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_THINGS_THINGS_PAGE_H
