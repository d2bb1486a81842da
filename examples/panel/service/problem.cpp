#include "examples/panel/service/problem.h"

#include <string>
#include <string_view>

#include <QCoreApplication>

#include "base/printable.h"
#include "vel/client/advice.h"

namespace panel {
namespace {

QString translated(std::string_view text) {
  return QCoreApplication::translate("advice", std::string(text).c_str());
}

QString sentence(QString phrase) {
  if (!phrase.isEmpty()) {
    phrase[0] = phrase[0].toUpper();
    phrase += '.';
  }
  return phrase;
}

QString reasonOf(const vel::Error& error) {
  if (const velprotocol::Meaning* const meaning = vel::refusalMeaning(error)) {
    return QCoreApplication::translate("panel", "the service refused: %1")
        .arg(translated(meaning->explanation));
  }
  // The bus names the method in some of its reasons.
  const std::string prefix = error.method() + ": ";
  const bool isPrefixed = error.text().compare(0, prefix.size(), prefix) == 0;
  return shownText(isPrefixed ? error.text().substr(prefix.size()) : error.text());
}

}  // namespace

Problem problemOf(const vel::Error& error) {
  return {sentence(reasonOf(error)), sentence(translated(vel::remedyFor(error)))};
}

QString shownText(const std::string& text) {
  return QString::fromStdString(base::printable(text));
}

}  // namespace panel
