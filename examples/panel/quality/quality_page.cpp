#include "examples/panel/quality/quality_page.h"

#include <QVBoxLayout>

namespace panel {

QualityPage::QualityPage(Service& service, VmList& vms)
    : vms_(vms), model_(service), plot_(static_cast<int>(QualityModel::kMostReadings)) {
  for (QLabel* const label : {&title_, &remark_}) {
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
  }
  auto* const rows = new QVBoxLayout(this);
  rows->setContentsMargins(0, 0, 0, 0);
  rows->addWidget(&title_);
  rows->addWidget(&plot_, 1);
  rows->addWidget(&remark_);
  connect(&model_, &QualityModel::changed, this, [this] { showReadings(); });
  connect(&vms_, &VmList::chosenChanged, this, [this] { showReadings(); });
  // A page that was shown before the service was there.
  connect(&service, &Service::refreshed, this, [this] {
    if (isVisible()) {
      model_.watch(true);
    }
  });
  showReadings();
}

void QualityPage::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  model_.watch(true);
}

void QualityPage::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  model_.watch(false);
}

void QualityPage::showReadings() {
  const QString vm = shownText(vms_.chosen());
  std::vector<double> first;
  std::vector<double> second;
  for (const Bandwidth& reading : model_.of(vms_.chosen())) {
    first.push_back(reading.first);
    second.push_back(reading.second);
  }
  title_.setText(vm.isEmpty() ? tr("Choose a VM to see its bandwidth")
                              : tr("Bandwidth of %1, as its clients report it").arg(vm));
  plot_.setAccessibleName(title_.text());
  remark_.setText(!model_.problem().isEmpty() ? model_.problem().text()
                  : first.empty()             ? tr("No client has reported yet.")
                                              : QString());
  plot_.setLines({{tr("First figure"), first}, {tr("Second figure"), second}});
}

}  // namespace panel
