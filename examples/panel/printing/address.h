// Addresses of printers and of machines that share them, as a person types them.

#ifndef EXAMPLES_PANEL_PRINTING_ADDRESS_H
#define EXAMPLES_PANEL_PRINTING_ADDRESS_H

#include <QString>

namespace panel {

// What is wrong with an address, for people; empty: the library takes it.
QString addressMistake(const QString& address);

}  // namespace panel

#endif  // EXAMPLES_PANEL_PRINTING_ADDRESS_H
