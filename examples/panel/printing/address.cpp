#include "examples/panel/printing/address.h"

#include <QCoreApplication>
#include <QStringList>

#include "vel/client/client.h"

namespace panel {
namespace {

constexpr int kNumbers = 4;
constexpr int kMostOfNumber = 255;
constexpr int kMostOfPort = 65535;

struct Mistakes {
  Q_DECLARE_TR_FUNCTIONS(panel::Mistakes)

 public:
  static QString ofCharacters(const QString& address) {
    for (const QChar each : address) {
      if (each.isSpace()) {
        return tr("An address has no blanks.");
      }
      if (each != '.' && each != ':' && (each < '0' || each > '9')) {
        return tr("\u201c%1\u201d does not belong into an address: numbers such as 10.0.0.7 do, "
                  "names do not.")
            .arg(each);
      }
    }
    return {};
  }

  static QString ofNumber(const QString& number, int most) {
    if (number.size() > 1 && number.startsWith('0')) {
      return tr("%1 begins with 0.").arg(number);
    }
    bool isNumber = false;
    return number.toInt(&isNumber) > most || (!isNumber && !number.isEmpty())
               ? tr("%1 is more than %2.").arg(number).arg(most)
               : QString();
  }

  static QString ofParts(const QString& address) {
    const QStringList parts = address.split(':');
    for (const QString& number : parts.front().split('.')) {
      if (const QString mistake = ofNumber(number, kMostOfNumber); !mistake.isEmpty()) {
        return mistake;
      }
    }
    const QStringList numbers = parts.front().split('.', Qt::SkipEmptyParts);
    if (numbers.size() != kNumbers || parts.front().count('.') != kNumbers - 1) {
      return tr("An address has four numbers with dots between them, such as 10.0.0.7.");
    }
    return parts.size() > 1 ? ofNumber(parts[1], kMostOfPort) : QString();
  }

  static QString of(const QString& address) {
    if (address.isEmpty()) {
      return tr("Type an address such as 10.0.0.7, or 10.0.0.7:631 with a port.");
    }
    for (const QString& mistake : {ofCharacters(address), ofParts(address)}) {
      if (!mistake.isEmpty()) {
        return mistake;
      }
    }
    return tr("This is no address such as 10.0.0.7, or 10.0.0.7:631 with a port.");
  }
};

}  // namespace

QString addressMistake(const QString& address) {
  return vel::Client::isAddress(address.toStdString()) ? QString() : Mistakes::of(address);
}

}  // namespace panel
