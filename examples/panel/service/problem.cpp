#include "examples/panel/service/problem.h"

#include <string>
#include <string_view>

#include <QCoreApplication>

#include "base/printable.h"
#include "vel/client/advice.h"

namespace panel {
namespace {

// Reasons that the library and the bus have as bare texts.
constexpr const char* kReasons[] = {QT_TRANSLATE_NOOP("advice", "no reply in time"),
                                    QT_TRANSLATE_NOOP("advice", "the service has ended")};

QString translated(std::string_view text) {
  return QCoreApplication::translate(kForeignTexts, std::string(text).c_str());
}

QString sentence(QString phrase) {
  if (!phrase.isEmpty()) {
    phrase[0] = phrase[0].toUpper();
    phrase += '.';
  }
  return phrase;
}

QString reasonOf(const vel::Error& error) {
  static_cast<void>(kReasons);
  if (const velprotocol::Meaning* const meaning = vel::refusalMeaning(error)) {
    return QCoreApplication::translate("panel", "the service refused: %1")
        .arg(translated(meaning->explanation));
  }
  if (error.status()) {
    return QCoreApplication::translate("panel", "the service refused with status %1")
        .arg(*error.status());
  }
  // The bus names the method in some of its reasons.
  const std::string prefix = error.method() + ": ";
  const bool isPrefixed = error.text().compare(0, prefix.size(), prefix) == 0;
  const std::string text = isPrefixed ? error.text().substr(prefix.size()) : error.text();
  // The words of the service itself stay as they are.
  return error.kind() == vel::ErrorKind::kErrorReply ? shownText(text)
                                                     : shownText(translated(text).toStdString());
}

}  // namespace

Problem problemOf(const vel::Error& error) {
  return {sentence(reasonOf(error)), sentence(translated(vel::remedyFor(error)))};
}

QString shownText(const std::string& text) {
  return QString::fromStdString(base::printable(text));
}

}  // namespace panel
