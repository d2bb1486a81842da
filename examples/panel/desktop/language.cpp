#include "examples/panel/desktop/language.h"

#include <QCoreApplication>
#include <QLibraryInfo>

// In a static library nothing else would keep the resource. The macro wants the global namespace.
static void initialiseTranslations() {
  Q_INIT_RESOURCE(translations);
}

namespace panel {

// Read by Qt itself when a translation comes or goes: "LTR" or "RTL".
constexpr const char* kDirection[] = {QT_TRANSLATE_NOOP("QGuiApplication", "QT_LAYOUT_DIRECTION")};

Language::Language(const QLocale& locale) {
  static_cast<void>(kDirection);
  initialiseTranslations();
  const QString placeOfQts = QLibraryInfo::location(QLibraryInfo::TranslationsPath);
  if (ofQt_.load(locale, "qtbase", "_", placeOfQts)) {
    QCoreApplication::installTranslator(&ofQt_);
  }
  if (ours_.load(locale, "panel", "_", ":/translations")) {
    QCoreApplication::installTranslator(&ours_);
  }
}

// Does nothing to one that is not installed.
Language::~Language() {
  QCoreApplication::removeTranslator(&ours_);
  QCoreApplication::removeTranslator(&ofQt_);
}

}  // namespace panel
