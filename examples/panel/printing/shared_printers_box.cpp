#include "examples/panel/printing/shared_printers_box.h"

#include <algorithm>

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace panel {
namespace {

constexpr int kTickMs = 100;

int limitMs() {
  return static_cast<int>(vel::Client::timeLimit("searchSharePrinter").count());
}

}  // namespace

SharedPrintersBox::SharedPrintersBox(Service& service)
    : model_(service),
      address_(tr("Address of the machine that shares printers"), [this] { enable(); }) {
  setTitle(tr("Printers of other machines"));
  layOut();
  connect(&search_, &QPushButton::clicked, this, [this] { model_.start(address_.address()); });
  connect(&address_.edit(), &QLineEdit::returnPressed, &search_, &QPushButton::click);
  connect(&stop_, &QPushButton::clicked, &model_, &SharedPrinterSearch::stop);
  connect(&add_, &QPushButton::clicked, this, [this] { model_.add(chosen()); });
  connect(&found_, &QListWidget::itemChanged, this, [this] { enable(); });
  connect(&model_, &WorkModel::changed, this, [this] { showModel(); });
  connect(&tick_, &QTimer::timeout, this, [this] {
    progress_.setValue(static_cast<int>(std::min<qint64>(sinceStart_.elapsed(), limitMs())));
  });
  showModel();
}

void SharedPrintersBox::layOut() {
  search_.setText(tr("&Search"));
  stop_.setText(tr("St&op"));
  add_.setText(tr("Add the mar&ked ones"));
  progress_.setRange(0, limitMs());
  progress_.setTextVisible(false);
  progress_.setAccessibleName(tr("Progress of the search"));
  tick_.setInterval(kTickMs);
  found_.setAccessibleName(tr("Shared printers that were found"));
  auto* const rows = new QVBoxLayout(this);
  auto* const line = new QHBoxLayout;
  auto* const label = new QLabel(tr("Add&ress"));
  label->setBuddy(&address_.edit());
  line->addWidget(label, 0, Qt::AlignTop);
  line->addWidget(&address_, 1);
  line->addWidget(&search_, 0, Qt::AlignTop);
  rows->addLayout(line);
  auto* const running = new QHBoxLayout;
  running->addWidget(&progress_, 1);
  running->addWidget(&stop_);
  rows->addLayout(running);
  rows->addWidget(&note_);
  rows->addWidget(&found_);
  rows->addWidget(&add_, 0, Qt::AlignRight);
  rows->addWidget(&status_);
}

SharedPrinterSearch::Printers SharedPrintersBox::chosen() const {
  SharedPrinterSearch::Printers printers;
  for (int row = 0; row < found_.count(); ++row) {
    if (found_.item(row)->checkState() == Qt::Checked) {
      printers.push_back(model_.found()[static_cast<std::size_t>(row)]);
    }
  }
  return printers;
}

QString SharedPrintersBox::noteText() const {
  if (model_.wasStopped()) {
    return tr("The search was stopped.");
  }
  return model_.hasFound() && model_.found().empty() ? tr("No printer is shared there.")
                                                     : QString();
}

void SharedPrintersBox::showFound() {
  const int count = static_cast<int>(model_.found().size());
  if (found_.count() == count) {
    return;
  }
  found_.clear();
  for (const vel::SharedPrinter& printer : model_.found()) {
    const QString name = shownText(printer.name);
    auto* const item = new QListWidgetItem(
        printer.description.empty() ? name : tr("%1, %2").arg(name, shownText(printer.description)),
        &found_);
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setCheckState(Qt::Checked);
  }
}

void SharedPrintersBox::showModel() {
  const bool isSearching = model_.isSearching();
  if (isSearching && !tick_.isActive()) {
    progress_.setValue(0);
    sinceStart_.start();
    tick_.start();
  } else if (!isSearching) {
    tick_.stop();
  }
  const bool hasStopFocus = stop_.hasFocus();
  progress_.setVisible(isSearching);
  stop_.setVisible(isSearching);
  if (!isSearching && hasStopFocus) {
    search_.setFocus();
  }
  showFound();
  found_.setVisible(found_.count() != 0);
  add_.setVisible(found_.count() != 0);
  note_.setText(noteText());
  note_.setVisible(!note_.text().isEmpty());
  // The search has a bar of its own.
  status_.set(model_.isBusy() && !isSearching, model_.problem(), title());
  enable();
}

void SharedPrintersBox::enable() {
  search_.setEnabled(address_.isGood() && !model_.isBusy());
  add_.setEnabled(!model_.isBusy() && !chosen().empty());
}

}  // namespace panel
