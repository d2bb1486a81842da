// The page of the stream quality: a plot of the bandwidth of the chosen VM.

#ifndef EXAMPLES_PANEL_QUALITY_QUALITY_PAGE_H
#define EXAMPLES_PANEL_QUALITY_QUALITY_PAGE_H

#include <chrono>

#include <QCoreApplication>
#include <QLabel>
#include <QWidget>

#include "examples/panel/quality/quality_model.h"
#include "examples/panel/vms/vm_list.h"
#include "examples/panel/widgets/plot.h"

namespace panel {

class QualityPage : public QWidget {
  Q_DECLARE_TR_FUNCTIONS(panel::QualityPage)

 public:
  // Both must outlive the page, which reads while it is shown.
  QualityPage(Service& service, VmList& vms);

  QualityModel& model() { return model_; }
  Plot& plot() { return plot_; }
  QString title() const { return title_.text(); }
  // Why there is nothing to see; empty when there is.
  QString remark() const { return remark_.text(); }

 protected:
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void showReadings();

  VmList& vms_;
  QualityModel model_;
  QLabel title_;
  Plot plot_;
  QLabel remark_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_QUALITY_QUALITY_PAGE_H
