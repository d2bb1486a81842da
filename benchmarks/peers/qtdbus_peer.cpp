// QtDBus: blocking calls, and events from Qt's event loop.

#include <QByteArray>
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QObject>
#include <QVariantList>

#include "benchmarks/peers/workload.h"

namespace {

using OnRecord = std::function<void(const void*, std::size_t)>;

}  // namespace

class QtDBusPeer : public QObject, public peers::Peer {
  Q_OBJECT

 public:
  explicit QtDBusPeer(const peers::Address& address)
      : bus_(connect(QString::fromStdString(address.dbus), address.isDirect)),
        isDirect_(address.isDirect) {
    if (!bus_.isConnected()) {
      peers::fail("QtDBus: no connection");
    }
    bus_.connect(isDirect_ ? QString() : QString(peers::kBusName), peers::kPath, peers::kInterface,
                 peers::kEvent, this, SLOT(onEvent(QVariantList)));
  }

  int connectDevice() override {
    return call("connectDevice", {variant<int>(peers::kVm), variant<short>(peers::kDevice)})
        .at(0)
        .toInt();
  }

  std::list<peers::Record> deviceList() override {
    const QVariantList reply = call("getDeviceList", {variant<int>(peers::kVm)});
    std::list<peers::Record> records;
    const int count = reply.at(0).toInt();
    for (int i = 1; i <= count; ++i) {
      const QByteArray block = reply.at(i).toByteArray();
      records.push_back(peers::copyOf(block.constData(), static_cast<std::size_t>(block.size())));
    }
    return records;
  }

  void events(int count, const OnRecord& onRecord) override {
    onRecord_ = &onRecord;
    left_ = count;
    call("doveltest", {variant<int>(0), variant<short>(static_cast<short>(count))});
    while (left_ > 0) {
      QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
  }

 private Q_SLOTS:
  void onEvent(const QVariantList& arguments) {
    const QByteArray block = arguments.at(2).toByteArray();
    if (left_ > 0) {
      (*onRecord_)(block.constData(), static_cast<std::size_t>(block.size()));
      --left_;
    }
  }

 private:
  // Connections of one name are one connection.
  static QDBusConnection connect(const QString& address, bool isDirect) {
    static int count = 0;
    const QString name = "peer " + QString::number(++count);
    return isDirect ? QDBusConnection::connectToPeer(address, name)
                    : QDBusConnection::connectToBus(address, name);
  }

  template <typename Number>
  static QVariant variant(Number number) {
    return QVariant::fromValue(number);
  }

  QVariantList call(const char* method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(
        isDirect_ ? QString() : QString(peers::kBusName), peers::kPath, peers::kInterface, method);
    message.setArguments({QVariant(arguments)});
    const QDBusMessage reply = bus_.call(message, QDBus::Block, peers::kTimeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage) {
      peers::fail("QtDBus: " + reply.errorMessage().toStdString());
    }
    return qdbus_cast<QVariantList>(reply.arguments().at(0));
  }

  QDBusConnection bus_;
  const bool isDirect_;
  const OnRecord* onRecord_ = nullptr;
  int left_ = 0;
};

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  return peers::runPeer(argc, argv, [](const peers::Address& address) {
    return std::make_unique<QtDBusPeer>(address);
  });
}

#include "qtdbus_peer.moc"
