// The texts of the panel in the language of a locale; English where there is no translation.
//
// A translation also decides the direction of the windows: each has the text QT_LAYOUT_DIRECTION.

#ifndef EXAMPLES_PANEL_DESKTOP_LANGUAGE_H
#define EXAMPLES_PANEL_DESKTOP_LANGUAGE_H

#include <QLocale>
#include <QTranslator>

namespace panel {

// Holds as long as the object lives.
class Language {
 public:
  explicit Language(const QLocale& locale);
  ~Language();
  Language(const Language&) = delete;
  Language& operator=(const Language&) = delete;

 private:
  QTranslator ofQt_;  // the menus of text fields
  QTranslator ours_;
};

}  // namespace panel

#endif  // EXAMPLES_PANEL_DESKTOP_LANGUAGE_H
