// A process of its own, for tests that need one.
//
//   bus_process serve ADDRESS SERVICE [UID]
//       runs a service, as another user if one is given; prints "running" when its name is taken
//   bus_process connect [VARIABLE=VALUE [THREADS]]
//       prints "connected" or "no bus" ("mixed" when the threads' results differ), then the
//       milliseconds until then, then the reason of the failure, then whether service "vel" is
//       "there" or "absent"
//   bus_process wait VARIABLE=VALUE
//       prints "no bus" when there is none at first, and "connected" as soon as there is one, then
//       "reason: " and the reason of the last failure
//   bus_process threads VARIABLE=VALUE
//       runs out of threads, see runOutOfThreads
//   bus_process scarce ADDRESS
//       starts a service at a direct address with few threads, and looks for it with few
//       descriptors; prints "no limit" when it cannot run out of threads, or each reason of a
//       failure once, "running" when the service starts at last, and an empty line
//   bus_process allocations ADDRESS
//       connects to service "vel" at a direct address and calls it, over and over, while each
//       allocation fails once; prints "uncounted" when none can fail, or how many have failed,
//       "called" when a call succeeds at last, then "not sent" and "lost" when there is no memory
//       for what a connection leaves unsent
//   bus_process close VARIABLE=VALUE all|sockets
//       closes its own descriptors; prints "death" and "there" when it has noticed, and connected
//       again
//   bus_process signal VARIABLE=VALUE
//       runs a service and uses it; prints the names of its bus threads, then waits for SIGTERM in
//       its main thread, which alone blocks it, and prints "SIGTERM"
//   bus_process connect-as PATH UID
//       connects to a socket as another user; prints "connected" or "refused"
//   bus_process check VARIABLE=VALUE [UID]
//       checks the way to service "vel", as another user if one is given; prints the source of the
//       address, the link that is broken, and the file that has to do with it: numbers of enum
//       values, -1 for none, and an empty line for no file; then the path of the last socket
//   bus_process losses VARIABLE=VALUE
//       connects to service "vel", uses it, and loses the connection, a thousand times; prints how
//       many more descriptors, threads and blocks of memory are in use
//   bus_process memory VARIABLE=VALUE
//       takes two interfaces of a service, the second while one allocation fails: the first, the
//       second and so on until none does; prints how often, and how many ends of the service its
//       first interface has missed
//   bus_process absent VARIABLE=VALUE
//       prints how many more blocks of memory are in use after 200 asks for a service that is
//       absent

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#if defined(__linux__)
#include <sys/syscall.h>
#endif

#include "base/text.h"
#include "base/unix_socket.h"
#include "bus/dbus/bus_failure.h"
#include "bus/dbus/client.h"
#include "bus/dbus/message_impl.h"
#include "bus/dbus/service_check.h"
#include "bus/dbus/service_host.h"
#include "bus/dbus/transport/connection.h"
#include "bus/dbus/value.h"
#include "bus/qxbus.h"
#include "platform/log.h"

namespace {

// Stays at 0 in a program that cannot count.
std::atomic<long> blocksInUse{0};
// So many allocations of this thread until one fails; negative for none.
thread_local long untilFailure = -1;

void say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

bool become(unsigned int uid) {
  return ::setgroups(0, nullptr) == 0 && ::setgid(uid) == 0 && ::setuid(uid) == 0;
}

int serve(const std::string& address, const std::string& service) {
  // A handler may run before the constructor of its host has returned.
  std::promise<qxbus::ServiceHost*> made;
  const std::shared_future<qxbus::ServiceHost*> running = made.get_future().share();
  const qxbus::Method echo = {"echo",
                              [](qxbus::Request request) { request.reply(request.arguments()); }};
  const auto shout = [running] {
    for (std::int32_t i = 0; i < 3; ++i) {
      running.get()->emitEvent("velevent", {i});
    }
  };
  const qxbus::Method stay = {"shout", [shout](qxbus::Request request) {
                                shout();
                                request.reply({});
                              }};
  const qxbus::Method leave = {"shoutAndEnd", [shout](const qxbus::Request&) {
                                 shout();
                                 ::_exit(0);
                               }};
  const qxbus::Method broadcast = {"broadcast", [running](qxbus::Request request) {
                                     running.get()->broadcast(
                                         qxbus::readString(request.arguments(), 0), {});
                                     request.reply({});
                                   }};
  // Its arguments are the name of the event and the number of its bytes.
  const qxbus::Method large = {
      "broadcastLarge", [running](qxbus::Request request) {
        const qxbus::Bytes bytes(
            static_cast<std::size_t>(qxbus::readInt32(request.arguments(), 1)));
        running.get()->broadcast(qxbus::readString(request.arguments(), 0), {bytes});
        request.reply({});
      }};
  qxbus::ServiceHost host(address, service, {echo, stay, leave, broadcast, large});
  made.set_value(&host);
  say("running");
  for (;;) {
    ::pause();
  }
}

void setVariable(const std::string& assignment) {
  const std::size_t equals = assignment.find('=');
  ::setenv(assignment.substr(0, equals).c_str(), assignment.substr(equals + 1).c_str(), 1);
}

int connect(int threadCount) {
  const auto begun = std::chrono::steady_clock::now();
  std::vector<QXBusSerivceManager*> managers(static_cast<std::size_t>(threadCount));
  std::vector<std::thread> threads;
  threads.reserve(managers.size());
  for (QXBusSerivceManager*& manager : managers) {
    threads.emplace_back([&manager] { manager = QXBusSerivceManager::initSync(-1); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - begun);
  const bool isSame = std::count(managers.begin(), managers.end(), managers[0]) == threadCount;
  say(!isSame ? "mixed" : managers[0] ? "connected" : "no bus");
  say(std::to_string(took.count()));
  say(qxbus::busFailure());
  say(managers[0] && managers[0]->isServiceRegistered("vel") ? "there" : "absent");
  return 0;
}

int waitForBus() {
  if (!QXBusSerivceManager::initSync(-1)) {
    say("no bus");
  }
  while (!QXBusSerivceManager::initSync(-1)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  say("connected");
  say("reason: " + qxbus::busFailure());
  return 0;
}

// --- Out of threads ------------------------------------------------------------------------------

// Whether the limit of this user's processes can be set so. Systems that count no threads among
// them, and the superuser's processes, take no notice of it.
bool limitProcesses(rlim_t most) {
  rlimit limit = {};
  ::getrlimit(RLIMIT_NPROC, &limit);
  limit.rlim_cur = std::min(most, limit.rlim_max);
  return ::setrlimit(RLIMIT_NPROC, &limit) == 0;
}

void liftLimit() {
  limitProcesses(RLIM_INFINITY);
}

bool canStartThread() {
  try {
    std::thread([] {}).join();
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

// Makes the action run with no thread to be had, with one, with two, as far as that can be known.
void tryWithFewThreads(const std::function<void()>& action) {
  rlim_t first = 1;
  while (limitProcesses(first) && !canStartThread()) {
    ++first;
  }
  for (rlim_t most = first - 1; most < first + 6; ++most) {
    limitProcesses(most);
    action();
  }
  limitProcesses(1);
}

// Prints "no limit" when it cannot run out of threads; else, in this order,
//   "no bus: REASON", "connected" its first connection without threads, and with them
//   "limited"                     it has an interface of vel and can start no thread again
//   (SIGUSR1: vel is gone)
//   "unreported"                  the death is known, and no thread can report it
//   "death"                       the death is reported, now that there are threads
//   "limited"
//   (SIGUSR1: the bus and vel have been started again)
//   "not there" and "there"       the service without threads, and with them
void runOutOfThreads() {
  sigset_t turn;
  ::sigemptyset(&turn);
  ::sigaddset(&turn, SIGUSR1);
  ::pthread_sigmask(SIG_BLOCK, &turn, nullptr);
  const auto waitForTurn = [&turn] {
    int number = 0;
    ::sigwait(&turn, &number);
  };
  constexpr unsigned int kNobody = 65534;
  if ((::geteuid() == 0 && !become(kNobody)) || !limitProcesses(1) || canStartThread()) {
    say("no limit");
    return;
  }
  say(QXBusSerivceManager::initSync(-1) ? "connected" : "no bus: " + qxbus::busFailure());
  tryWithFewThreads([] { QXBusSerivceManager::initSync(-1); });
  liftLimit();
  QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(-1);
  say(manager ? "connected" : "no bus");
  const std::shared_ptr<QXBusProxyInterface> proxy =
      manager->getServiceProxyInterface("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
  const auto reported = std::make_shared<std::promise<void>>();
  proxy->setDeathCallback([reported] { reported->set_value(); });
  limitProcesses(1);
  say("limited");

  waitForTurn();
  // The second answer is read after everything that came before the first has been handled.
  manager->isServiceRegistered("vel");
  manager->isServiceRegistered("vel");
  say("unreported");
  liftLimit();
  reported->get_future().wait();
  say("death");

  limitProcesses(1);
  say("limited");
  waitForTurn();
  say(manager->isServiceRegistered("vel") ? "there" : "not there");
  tryWithFewThreads([manager] { manager->isServiceRegistered("vel"); });
  liftLimit();
  say(manager->isServiceRegistered("vel") ? "there" : "not there");
}

// --- Out of anything -----------------------------------------------------------------------------

int serveScarcely(const std::string& address) {
  constexpr unsigned int kNobody = 65534;
  if ((::geteuid() == 0 && !become(kNobody)) || !limitProcesses(1) || canStartThread()) {
    say("no limit");
    return 0;
  }
  std::set<std::string> reasons;
  const auto serveOnce = [&] {
    try {
      const qxbus::ServiceHost host(address, "vel", {});
      return true;
    } catch (const std::runtime_error& error) {
      reasons.insert(error.what());
      return false;
    }
  };
  tryWithFewThreads([&] { serveOnce(); });
  liftLimit();
  rlimit descriptors = {};
  ::getrlimit(RLIMIT_NOFILE, &descriptors);
  const rlimit all = descriptors;
  constexpr rlim_t kFew = 20;
  for (descriptors.rlim_cur = 3; descriptors.rlim_cur < kFew; ++descriptors.rlim_cur) {
    ::setrlimit(RLIMIT_NOFILE, &descriptors);
    serveOnce();
    reasons.insert(qxbus::checkService("vel", address, std::chrono::milliseconds(1000)).reason);
  }
  ::setrlimit(RLIMIT_NOFILE, &all);
  for (const std::string& reason : reasons) {
    if (!reason.empty()) {
      say(reason);
    }
  }
  say(serveOnce() ? "running" : "not running");
  say("");
  return 0;
}

// Makes the action run until it has had all the memory that it asks for. Each time another
// allocation fails, the next one. Returns how many have failed.
long failEachAllocation(const std::function<void()>& action) {
  for (long failures = 0;; ++failures) {
    untilFailure = failures;
    try {
      action();
    } catch (const std::bad_alloc&) {
      continue;
    }
    if (std::exchange(untilFailure, -1) >= 0) {
      return failures;
    }
  }
}

bool callOnce(const std::string& address) {
  const auto client = qxbus::Client::connect(address);
  const auto service =
      client ? (*client)->handleOn("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT) : nullptr;
  const auto request = qxbus::makeMessage(MESSAGE_TYPE_METHOD_CALL, "echo");
  return service && service->call(*request, 10000)->type() == MESSAGE_TYPE_METHOD_RETURN;
}

int runOutOfMemory(const std::string& address) {
  const long before = blocksInUse;
  if (before == 0) {
    say("uncounted");
    return 0;
  }
  say(std::to_string(failEachAllocation([&] { callOnce(address); })));
  say(callOnce(address) ? "called" : "not called");

  int ends[2] = {};
  if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0 ||
      ::fcntl(ends[0], F_SETFL, O_NONBLOCK) != 0) {
    return 1;
  }
  std::promise<void> lost;
  qxbus::Connection::Handlers handlers;
  handlers.onLost = [&lost] { lost.set_value(); };
  const auto loop = qxbus::Loop::start("qxbus-io");
  const auto connection =
      qxbus::Connection::adopt(*loop, base::Socket(ends[0]), qxbus::Inbox(), std::move(handlers));
  qxbus::wire::Header header;
  header.type = qxbus::wire::MessageType::kSignal;
  header.path = "/large";
  header.interface = "some.interface";
  header.member = "large";
  header.signature = "ay";
  qxbus::wire::MessageWriter message;
  message.start(header);
  message.appendBytes(std::string(std::size_t{8} * 1024 * 1024, 'x'));
  untilFailure = 0;
  say(connection->send(&message) ? "sent" : "not sent");
  lost.get_future().wait();
  say("lost");
  (*loop)->stop();
  ::close(ends[1]);
  return 0;
}

// --- Descriptors ---------------------------------------------------------------------------------

void closeDescriptors(bool socketsOnly) {
  for (int each = 3; each < 1024; ++each) {
    struct stat status = {};
    if (::fstat(each, &status) == 0 && (!socketsOnly || S_ISSOCK(status.st_mode))) {
#if defined(__linux__)
      // Past the race detector, to which this is the mistake that it is.
      ::syscall(SYS_close, each);
#else
      ::close(each);
#endif
    }
  }
}

int loseDescriptors(bool socketsOnly) {
  QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(-1);
  const std::shared_ptr<QXBusProxyInterface> proxy =
      manager->getServiceProxyInterface("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
  const auto reported = std::make_shared<std::promise<void>>();
  proxy->setDeathCallback([reported] { reported->set_value(); });
  closeDescriptors(socketsOnly);
  if (socketsOnly) {
    // No thread waits for the socket's end. The next use of the connection notices it.
    manager->isServiceRegistered("vel");
  }
  reported->get_future().wait();
  say("death");
  say(manager->isServiceRegistered("vel") ? "there" : "not there");
  return 0;
}

// --- Signals -------------------------------------------------------------------------------------

// The names of the threads that begin with qxbus, each once; empty where the system does not list
// threads.
std::string busThreadNames() {
  std::set<std::string> names;
  std::error_code ignored;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", ignored)) {
    std::string name;
    std::getline(std::ifstream(task.path() / "comm"), name);
    if (name.rfind("qxbus", 0) == 0) {
      names.insert(name);
    }
  }
  return base::joined({names.begin(), names.end()}, " ");
}

int waitForSignal() {
  qxbus::ServiceHost host("", "vel", {});
  QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(-1);
  const std::shared_ptr<QXBusProxyInterface> proxy =
      manager->getServiceProxyInterface("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
  // Work for every thread.
  static QXBusEventCallback listener;
  proxy->addEventListener("velevent", &listener, QXBUS_SECURITY_ANY_USER);
  host.emitEvent("velevent", {});
  proxy->callWithReply(proxy->makeMethodCallMessage("absent"), nullptr, 10000);
  proxy->callWithReplyBlocking(proxy->makeMethodCallMessage("absent"), 10000);

  sigset_t termination;
  ::sigemptyset(&termination);
  ::sigaddset(&termination, SIGTERM);
  ::pthread_sigmask(SIG_BLOCK, &termination, nullptr);
  // A thread gives itself its name once it runs.
  constexpr int kBusThreads = 5;
  std::string names = busThreadNames();
  for (int i = 0; i < 1000 && std::count(names.begin(), names.end(), ' ') < kBusThreads - 1; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    names = busThreadNames();
  }
  say(names);
  int number = 0;
  ::sigwait(&termination, &number);
  say("SIGTERM");
  return 0;
}

// --- Memory --------------------------------------------------------------------------------------

int askForWhatIsAbsent() {
  QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(-1);
  const auto ask = [manager](int times) {
    for (int i = 0; i < times; ++i) {
      manager->getServiceProxyInterface("absent", QXBUS_SECURITY_ANY_USER, 1);
    }
  };
  ask(50);
  const long before = blocksInUse;
  if (before == 0) {
    say("uncounted");
    return 0;
  }
  ask(200);
  say(std::to_string(blocksInUse - before));
  return 0;
}

// Whether the interface learns that the service ends.
bool learnsOfTheEnd(const std::shared_ptr<QXBusProxyInterface>& proxy,
                    std::unique_ptr<qxbus::ServiceHost> host) {
  const auto reported = std::make_shared<std::promise<void>>();
  proxy->setDeathCallback([reported] { reported->set_value(); });
  host.reset();
  constexpr std::chrono::seconds kEnough{20};
  return reported->get_future().wait_for(kEnough) == std::future_status::ready;
}

int takeInterfacesWithoutMemory() {
  QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(-1);
  int failures = 0;
  int missed = 0;
  for (bool hasFailed = true; hasFailed; ++failures) {
    const std::string service = "vel" + std::to_string(failures);
    auto host = std::make_unique<qxbus::ServiceHost>("", service, std::vector<qxbus::Method>());
    const auto take = [&] {
      return manager->getServiceProxyInterface(service, QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
    };
    const std::shared_ptr<QXBusProxyInterface> first = take();
    untilFailure = failures;
    try {
      take();
    } catch (const std::bad_alloc&) {
      // What it may end in.
    }
    hasFailed = untilFailure < 0;
    untilFailure = -1;
    missed += learnsOfTheEnd(first, std::move(host)) ? 0 : 1;
  }
  say(std::to_string(failures - 1));
  say(std::to_string(missed));
  return 0;
}

// --- Losses --------------------------------------------------------------------------------------

// 0 where there is no such directory.
long entriesOf(const char* directory) {
  std::error_code ignored;
  const std::filesystem::directory_iterator entries(directory, ignored);
  return std::distance(begin(entries), end(entries));
}

struct InUse {
  long descriptors = entriesOf("/proc/self/fd");
  long threads = entriesOf("/proc/self/task");
  long blocks = blocksInUse;
};

void endConnections() {
  for (int each = 3; each < 1024; ++each) {
    // No effect on what is no socket.
#if defined(__linux__)
    // Past the race detector: another thread may be closing it.
    ::syscall(SYS_shutdown, each, SHUT_RDWR);
#else
    ::shutdown(each, SHUT_RDWR);
#endif
  }
}

// Threads that have nothing left to do end a moment later.
void waitForThreads() {
  constexpr int kSteady = 20;
  long threads = 0;
  for (int same = 0; same < kSteady; ++same) {
    const long now = entriesOf("/proc/self/task");
    same = now == threads ? same : 0;
    threads = now;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

void loseConnection(QXBusSerivceManager* manager) {
  static QXBusEventCallback listener;
  const std::shared_ptr<QXBusProxyInterface> proxy =
      manager->getServiceProxyInterface("vel", QXBUS_SECURITY_SAME_USER_OR_ROOT, 1);
  const auto reported = std::make_shared<std::promise<void>>();
  const auto completed = std::make_shared<std::promise<void>>();
  proxy->setDeathCallback([reported] { reported->set_value(); });
  proxy->addEventListener("velevent", &listener, QXBUS_SECURITY_SAME_USER_OR_ROOT);
  proxy->callWithReplyBlocking(proxy->makeMethodCallMessage("echo"), 10000);
  proxy->callWithReply(
      proxy->makeMethodCallMessage("hold"),
      [completed](const std::shared_ptr<QXBusMessage>&) { completed->set_value(); }, -1);
  endConnections();
  reported->get_future().wait();
  completed->get_future().wait();
}

int loseConnections() {
  QXBusSerivceManager* const manager = QXBusSerivceManager::initSync(-1);
  const auto lose = [manager](int times) {
    for (int i = 0; i < times; ++i) {
      loseConnection(manager);
    }
    waitForThreads();
  };
  lose(50);
  const InUse before;
  lose(1000);
  const InUse after;
  say(std::to_string(after.descriptors - before.descriptors));
  say(std::to_string(after.threads - before.threads));
  say(std::to_string(after.blocks - before.blocks));
  return 0;
}

// --- Users ---------------------------------------------------------------------------------------

int connectAs(const std::string& path, unsigned int user) {
  if (!become(user)) {
    std::perror("bus_process");
    return 1;
  }
  qxbus::Connection::Handlers handlers;
  handlers.onMessages = [](const std::vector<qxbus::Received>&) {};
  const auto opened = qxbus::Connection::open("unix:path=" + path, std::move(handlers),
                                              qxbus::deadlineAfter(10000));
  say(opened ? "connected" : "refused");
  return 0;
}

int check(const char* user) {
  if (user && !become(static_cast<unsigned int>(std::strtoul(user, nullptr, 10)))) {
    std::perror("bus_process");
    return 1;
  }
  const qxbus::ServiceCheck checked =
      qxbus::checkService("vel", "", std::chrono::milliseconds(10000));
  say(std::to_string(static_cast<int>(checked.address.source)));
  say(std::to_string(checked.broken ? static_cast<int>(*checked.broken) : -1));
  const bool hasFile = !checked.sockets.empty() && checked.sockets.back().file;
  say(hasFile ? checked.sockets.back().file->path : "");
  say(checked.sockets.empty() ? "" : checked.sockets.back().path);
  return 0;
}

int run(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "connect-as" && argc > 3) {
    return connectAs(argv[2], static_cast<unsigned int>(std::strtoul(argv[3], nullptr, 10)));
  }
  if (mode == "scarce" && argc > 2) {
    serveScarcely(argv[2]);
    // As in mode "threads".
    ::_exit(0);
  }
  if (mode == "allocations" && argc > 2) {
    return runOutOfMemory(argv[2]);
  }
  if (mode == "serve" && argc > 3) {
    if (argc > 4 && !become(static_cast<unsigned int>(std::strtoul(argv[4], nullptr, 10)))) {
      std::perror("bus_process");
      return 1;
    }
    return serve(argv[2], argv[3]);
  }
  for (const char* const variable :
       {"QXBUS_ADDRESS", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"}) {
    ::unsetenv(variable);
  }
  if (argc > 2) {
    setVariable(argv[2]);
  }
  if (mode == "check") {
    return check(argc > 3 ? argv[3] : nullptr);
  }
  if (mode == "threads") {
    runOutOfThreads();
    // Not through main's end: a leak checker there would want to trace a process that has changed
    // its user.
    ::_exit(0);
  }
  if (mode == "close" && argc > 3) {
    return loseDescriptors(std::string(argv[3]) == "sockets");
  }
  if (mode == "signal") {
    return waitForSignal();
  }
  if (mode == "losses") {
    return loseConnections();
  }
  if (mode == "memory") {
    return takeInterfacesWithoutMemory();
  }
  if (mode == "absent") {
    return askForWhatIsAbsent();
  }
  return mode == "wait" ? waitForBus() : connect(argc > 3 ? std::atoi(argv[3]) : 1);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "bus_process: %s\n", error.what());
    return 1;
  }
}

extern "C" void norvoLogPrint(int /*channel*/, int /*level*/, const char* /*tag*/,
                              const char* /*format*/, ...) {}

#if defined(COUNTS_BLOCKS)
void* operator new(std::size_t size) {
  const bool mustFail = untilFailure >= 0 && untilFailure-- == 0;
  void* const block = mustFail ? nullptr : std::malloc(size);
  if (!block) {
    throw std::bad_alloc();
  }
  ++blocksInUse;
  return block;
}

void operator delete(void* block) noexcept {
  if (block) {
    --blocksInUse;
    std::free(block);
  }
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  operator delete(block);
}
#endif
