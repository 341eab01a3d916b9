// A storm of changes by several processes on one server whose line breaks and which is killed, and what is left of it.
//
//   tlm_soak [--seed N] [--changes N] [--faults N]
//
// When it is quiet, every tree and every record array of every module tells the same as a module that was opened
// afterwards on a server that was started anew from its store; and every commit that was acknowledged is there, once. A
// run whose kills all came behind the storm proves nothing, and fails.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>
#include <random>
#include <set>

#include "support/NetworkServer.h"
#include "support/Peer.h"
#include "support/Proxy.h"

namespace tlm::test {
namespace {

constexpr int kWorkers = 2;
constexpr int kModulesEach = 2;
constexpr int kLongestMs = 300'000;

struct Settings {
  unsigned seed = 0;
  int changes = 60;  // of each process
  int faults = 8;
};

class Worker {
 public:
  Worker(const std::string& address, unsigned seed, int modules, const std::string& prefix) {
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.start(TLM_SOAK_WORKER, {QString::fromStdString(address), QString::number(seed), QString::number(modules),
                                     QString::fromStdString(prefix)});
  }
  ~Worker() {
    say("quit");
    if (!process_.waitForFinished(10'000)) process_.kill();
  }
  void say(const QString& line) { process_.write(line.toUtf8() + '\n'); }

  // Reads on; true once that line has come.
  bool told(const QString& line) {
    read();
    return lines_.contains(line);
  }
  bool waitFor(const QString& line) {
    const bool came = eventually([&] { return told(line) || process_.state() == QProcess::NotRunning; }, kLongestMs);
    if (!came || !lines_.contains(line)) std::fprintf(stderr, "soak: a process did not say %s\n", qPrintable(line));
    return lines_.removeAll(line) > 0;
  }
  const QStringList& acked() const { return acked_; }
  bool lost() const { return lines_.contains("lost"); }

 private:
  void read() {
    process_.waitForReadyRead(0);
    while (process_.canReadLine()) {
      const QString line = QString::fromUtf8(process_.readLine()).trimmed();
      (line.startsWith("acked ") ? acked_ : lines_).append(line);
    }
  }

  QProcess process_;
  QStringList lines_;
  QStringList acked_;
};

// Every event of the storm, seen past the broken line.
class Witness {
 public:
  explicit Witness(const std::string& address)
      : peer_([&] {
          std::string problem;
          return connectToServer(quickLine(address, "witness"), &problem);
        }()) {
    peer_.listen({601, 602, 603});
  }

  void look() {
    while (MDXCliParam* const message = peer_.session().TakeMessage()) {
      const std::string image = bytesOf(message, MDX_EVENT_IMAGE);
      for (size_t at = image.find("soak-"); at != std::string::npos; at = image.find("soak-", at + 1)) {
        ++names_[image.substr(at, image.find('.', at) - at + 1)];
      }
      if (numberOf(message, MDX_EVENT_KIND) == 603) gone_.insert(bytesOf(message, MDX_EVENT_KEY));
      last_ = numberOf(message, MDX_EVENT_SEQUENCE);
      MDXParamFree(message);
    }
  }

  bool hasSeenAny() {
    look();
    return !names_.empty();
  }

  // The number of the last event of all, which this one makes.
  int64_t mark() {
    CMDArray units;
    if (!eventually([&] { return peer_.session().alive(); }) || peer_.rows("RemoteUnit", &units) < 1) return -1;
    MDRVar key{};
    units.GetVal(MDARec(units.array, 0, 0), "KeyLink", key);
    if (peer_.rename({key.text.data, key.text.length}, "soak-mark.") != 0) return -1;
    eventually([&] { return look(), names_.count("soak-mark.") != 0; });
    return last_;
  }

  // What was acknowledged and is not there just once.
  QStringList missing(const QStringList& acked) const {
    QStringList wrong;
    for (const QString& line : acked) {
      const std::string what = line.section(' ', 2).toStdString();
      if (line.startsWith("acked gone")) {
        if (!gone_.count(what)) wrong.append(line);
        continue;
      }
      const auto found = names_.find(what);
      if (found == names_.end() || found->second != 1)
        wrong.append(QString("%1: %2 times").arg(line).arg(found == names_.end() ? 0 : found->second));
    }
    return wrong;
  }

 private:
  Peer peer_;
  std::map<std::string, int> names_;
  std::set<std::string> gone_;
  int64_t last_ = 0;
};

// One fault after another while the storm lasts. First the line becomes slow, so that the kill behind it meets a storm
// that is not over yet.
class Faults {
 public:
  Faults(Proxy& proxy, ServerProcess& server, unsigned seed) : proxy_(proxy), server_(server), random_(seed) {}

  // `storming`: has a process not told yet that it is through?
  bool next(const std::function<bool()>& storming) {
    ++count_;
    switch (count_ % 5) {
      case 1:
        proxy_.delay(std::chrono::milliseconds(10 + random_() % 20));
        break;
      case 2:
        ++kills_;
        server_.kill();
        if (storming()) ++killsInStorm_;
        return server_.start();
      case 3:
        proxy_.cut();
        break;
      case 4:
        proxy_.holdReplies(true);
        pass(100 + static_cast<int>(random_() % 300));
        proxy_.cut();
        proxy_.holdReplies(false);
        break;
      default:
        proxy_.hold(true);
        pass(100 + static_cast<int>(random_() % 900));
        proxy_.hold(false);
    }
    pass(static_cast<int>(random_() % 150));
    return true;
  }
  void end() {
    proxy_.hold(false);
    proxy_.holdReplies(false);
    proxy_.delay(std::chrono::milliseconds(0));
  }
  int count() const { return count_; }
  int kills() const { return kills_; }
  int killsInStorm() const { return killsInStorm_; }

 private:
  // How long a fault lasts belongs to the fault.
  static void pass(int ms) {
    eventually([] { return false; }, ms);
  }

  Proxy& proxy_;
  ServerProcess& server_;
  std::mt19937 random_;
  int count_ = 0;
  int kills_ = 0;
  int killsInStorm_ = 0;
};

QByteArray contents(const QString& file) {
  QFile in(file);
  return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray();
}

// The first lines in which two pictures differ.
void tellDifference(const QByteArray& ours, const QByteArray& wanted, const QString& name) {
  const QList<QByteArray> a = ours.split('\n');
  const QList<QByteArray> b = wanted.split('\n');
  for (int i = 0; i < std::min(a.size(), b.size()); ++i) {
    if (a.at(i) == b.at(i)) continue;
    const QByteArray before = i > 0 ? a.at(i - 1) : QByteArray();
    std::fprintf(stderr, "%s differs in line %d, behind %s\n  has   %s\n  wants %s\n", qPrintable(name), i,
                 before.constData(), a.at(i).constData(), b.at(i).constData());
    break;
  }
  int told = 0;
  for (const QByteArray& line : a) {
    if (!b.contains(line) && ++told < 8) std::fprintf(stderr, "%s has  %s\n", qPrintable(name), line.constData());
  }
  told = 0;
  for (const QByteArray& line : b) {
    if (!a.contains(line) && ++told < 8) std::fprintf(stderr, "%s lacks %s\n", qPrintable(name), line.constData());
  }
}

bool storm(const Settings& settings) {
  const QTemporaryDir folder;
  ServerProcess server;
  if (!server.start()) return std::fprintf(stderr, "%s", server.logText().c_str()), false;
  Proxy proxy(server.address());
  Witness witness(server.address());
  std::vector<std::unique_ptr<Worker>> workers;
  for (int i = 0; i < kWorkers; ++i) {
    workers.push_back(std::make_unique<Worker>(proxy.address(), settings.seed + static_cast<unsigned>(i) + 1,
                                               kModulesEach, "soak-" + std::to_string(i) + "-"));
  }
  for (const auto& worker : workers) {
    if (!worker->waitFor("ready")) return false;
  }
  // Not before all units are open everywhere: a measurement that another client moves from a unit that is not open
  // into one that is comes with the next opening only.
  for (const auto& worker : workers) worker->say(QString("storm %1").arg(settings.changes));
  if (!eventually([&] { return witness.hasSeenAny(); }, kLongestMs))
    return std::fprintf(stderr, "soak: the storm does not begin\n"), false;
  Faults faults(proxy, server, settings.seed);
  const auto over = [&] {
    witness.look();
    for (const auto& worker : workers) {
      if (!worker->told("stormed")) return false;
    }
    return true;
  };
  // The storm may be over before the last fault, which then meets those who catch up.
  while (faults.count() < settings.faults) {
    if (!faults.next([&] { return !over(); })) return std::fprintf(stderr, "soak: the server does not start\n"), false;
    over();
  }
  faults.end();
  if (!eventually(over, kLongestMs)) return std::fprintf(stderr, "soak: the storm does not end\n"), false;
  QElapsedTimer converging;
  converging.start();
  const int64_t last = witness.mark();
  if (last < 0) return std::fprintf(stderr, "soak: no mark\n"), false;
  bool good = true;
  for (const auto& worker : workers) worker->say(QString("settle %1").arg(last));
  for (const auto& worker : workers) good = worker->waitFor("settled") && good;
  const double seconds = converging.elapsed() / 1000.0;
  // What a module sees that is opened now, on a server that knows nothing but its store.
  server.kill();
  if (!server.start()) return false;
  Worker fresh(server.address(), settings.seed, 1, "soak-f-");
  good = fresh.waitFor("ready") && good;
  fresh.say("dump " + folder.filePath("fresh"));
  good = fresh.waitFor("dumped") && good;
  const QByteArray wanted = contents(folder.filePath("fresh0"));
  int acked = 0;
  for (int i = 0; i < kWorkers; ++i) {
    Worker& worker = *workers[static_cast<size_t>(i)];
    worker.say("dump " + folder.filePath(QString("worker%1-").arg(i)));
    good = worker.waitFor("dumped") && good;
    for (int m = 0; m < kModulesEach; ++m) {
      const QByteArray ours = contents(folder.filePath(QString("worker%1-%2").arg(i).arg(m)));
      if (ours == wanted && !ours.isEmpty()) continue;
      good = false;
      tellDifference(ours, wanted, QString("module %1.%2").arg(i).arg(m));
    }
    for (const QString& line : witness.missing(worker.acked())) {
      good = false;
      std::fprintf(stderr, "not there once: %s\n", qPrintable(line));
    }
    if (worker.lost()) good = (std::fprintf(stderr, "a module was told that events are lost\n"), false);
    acked += worker.acked().size();
  }
  std::printf(
      "seed %u, %d changes acknowledged of %d, %d faults (%d kills, %d of them in the storm), %d bytes of picture, "
      "converged in %.2f s: %s\n",
      settings.seed, acked, settings.changes * kWorkers, faults.count(), faults.kills(), faults.killsInStorm(),
      static_cast<int>(wanted.size()), seconds, good ? "the same everywhere" : "NOT THE SAME");
  if (faults.killsInStorm() == 0) return std::fprintf(stderr, "soak: no kill met the storm\n"), false;
  return good && acked > settings.changes / 2;
}

}  // namespace
}  // namespace tlm::test

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QCoreApplication app(argc, argv);
  tlm::test::Settings settings;
  settings.seed = std::random_device{}() % 1'000'000;
  const QStringList arguments = QCoreApplication::arguments();
  for (int i = 1; i + 1 < arguments.size(); i += 2) {
    const int value = arguments.at(i + 1).toInt();
    if (arguments.at(i) == "--seed")
      settings.seed = static_cast<unsigned>(value);
    else if (arguments.at(i) == "--changes")
      settings.changes = value;
    else if (arguments.at(i) == "--faults")
      settings.faults = value;
    else
      return std::fprintf(stderr, "usage: tlm_soak [--seed N] [--changes N] [--faults N]\n"), 2;
  }
  std::printf("seed %u\n", settings.seed);
  std::fflush(stdout);
  return tlm::test::storm(settings) ? 0 : 1;
}
