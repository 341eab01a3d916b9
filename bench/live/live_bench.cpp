// What one client commits, and the window of another: a real server process on loopback between them.
//
// live.latency: from the commit of a change to the repainted row of the object that the window shows in its passport,
// at 200 changes a second. The baseline: a durable append of the same bytes, a message on a bare gRPC stream, two bare
// echoes (the sheet is filled anew) and a bare repaint, at the same pace. The window paints the row before it asks for
// the sheet; live.latency.row is therefore measured against the same without the echoes.
// live.rate: the changes a second at which the queue of events begins to grow. live.share: the share of one core that
// the window needs at 200.
#include <bench/Folder.h>
#include <bench/bench.h>
#include <bench/module/StandardTree.h>
#include <bench/module/Station.h>
#include <bench/wire/bare.h>
#include <fcntl.h>
#include <tools/ServerProgram.h>
#include <unistd.h>

#include <TlmClient/NetTransport.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QStyledItemDelegate>
#include <QTimer>

#include <ctime>
#include <functional>
#include <stdexcept>

#include "Writer.h"

namespace tlm::bench {
namespace {

constexpr double kPace = 200;  // changes a second
constexpr int kChanges = 2000;
constexpr int kWarm = 200;
constexpr int kLimitMs = 60'000;
constexpr int kBareSamples = 1000;
constexpr int kRows = 20;
constexpr size_t kEchoBytes = 200;
constexpr size_t kEventBytes = 600;

// Runs the event loop until somebody ends it.
class Loop {
 public:
  Loop() {
    limit_.setSingleShot(true);
    QObject::connect(&limit_, &QTimer::timeout, &loop_, [this] { loop_.exit(1); });
  }
  void run() {
    limit_.start(kLimitMs);
    if (loop_.exec() != 0) throw std::runtime_error("live: the window does not follow");
    limit_.stop();
  }
  void end() { loop_.quit(); }

 private:
  QEventLoop loop_;
  QTimer limit_;
};

// Tells what has been painted.
class Spy : public QStyledItemDelegate {
 public:
  Spy(QTreeView& view, std::function<void(const QString&)> painted)
      : view_(view), former_(view.itemDelegate()), painted_(std::move(painted)) {
    view.setItemDelegate(this);
  }
  ~Spy() override { view_.setItemDelegate(former_); }

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    former_->paint(painter, option, index);
    if (index.column() == 0) painted_(index.data().toString());
  }
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    return former_->sizeHint(option, index);
  }

 private:
  QTreeView& view_;
  QAbstractItemDelegate* former_;
  std::function<void(const QString&)> painted_;
};

std::unique_ptr<ITransport> lineTo(const std::string& address) {
  NetLine line;
  line.address = address;
  line.user = "reader";
  std::string problem;
  auto transport = connectToServer(line, &problem);
  if (!transport) throw std::runtime_error("live: " + problem);
  return transport;
}

// A server process, and a window that shows a unit's measurements.
class Desk {
 public:
  Desk() : server_(QString::fromStdString(folder.file("model.tlm"))) {
    if (!server_.start()) throw std::runtime_error("live: no server");
    station = std::make_unique<Station>(lineTo(address()));
    station->module().ModuleStart();
    openRows();
  }

  std::string address() const { return server_.address().toStdString(); }
  std::vector<std::string> keys;  // of rows that are seen; the passport shows the first

  Folder folder;
  std::unique_ptr<Station> station;

 private:
  void openRows() {
    QTreeView& view = station->view();
    const QModelIndex unit = fullUnit();
    const QModelIndex group = station->model().index(0, 0, unit);
    view.expand(unit);
    view.expand(group);
    view.setCurrentIndex(station->model().index(0, 0, group));
    view.scrollTo(station->model().index(0, 0, group), QAbstractItemView::PositionAtTop);
    QCoreApplication::processEvents();
    for (int row = 0; row < kRows; ++row) {
      const QModelIndex index = station->model().index(row, 0, group);
      if (!view.viewport()->rect().contains(view.visualRect(index).center())) break;
      keys.push_back(index.data(kKeyRole).toString().toStdString());
    }
    if (keys.empty()) throw std::runtime_error("live: no row is seen");
  }

  // One with many measurements, fetched.
  QModelIndex fullUnit() {
    for (int number = 0;; ++number) {
      const QModelIndex unit = station->unit(number);
      station->view().expand(unit);
      if (station->model().rowCount(station->model().index(0, 0, unit)) >= kRows) return unit;
    }
  }

  ServerProgram server_;
};

// What was painted of a writer's names, until the last one.
class Seen {
 public:
  Seen(Desk& desk, const Writer& writer, int changes)
      : spy_(desk.station->view(), [this, &writer, changes](const QString& text) {
          const int number = writer.numberOf(text.toStdString());
          const auto now = Clock::now();
          while (last_ < number) times_.push_back(std::chrono::duration<double>(now - writer.sentAt(++last_)).count());
          if (last_ == changes) loop_.end();
        }) {
    loop_.run();
    if (writer.failed()) throw std::runtime_error("live: a change was refused");
  }
  const std::vector<double>& times() const { return times_; }  // from commit to paint

 private:
  int last_ = 0;
  std::vector<double> times_;
  Loop loop_;
  Spy spy_;
};

double quantile(std::vector<double> values, double part) {
  std::sort(values.begin(), values.end());
  return values[static_cast<size_t>(part * static_cast<double>(values.size() - 1))];
}

// ---- the baseline ----

class BareRepaint {
 public:
  explicit BareRepaint(const QTreeView& like)
      : view_(viewLike(like)), spy_(*view_, [this](const QString& text) {
          if (text == wanted_) loop_.end();
        }) {
    for (int row = 0; row < kRows; ++row) model_.appendRow({new QStandardItem("row"), new QStandardItem("1001")});
    view_->setModel(&model_);
    QCoreApplication::processEvents();
  }
  void once(int number) {
    wanted_ = QString::number(number);
    model_.item(0)->setText(wanted_);
    loop_.run();
  }

 private:
  QStandardItemModel model_;
  std::unique_ptr<QTreeView> view_;
  QString wanted_;
  Loop loop_;
  Spy spy_;
};

// Without the echoes, and with them.
struct Sums {
  std::vector<double> row, whole;
};

// The sums of one piece of each, at the pace of the changes.
class Bare {
 public:
  Bare(Desk& desk, size_t blockBytes)
      : echo_("127.0.0.1:0"),
        repaint_(desk.station->view()),
        bytes_(blockBytes, 'x'),
        file_(open(desk.folder.file("appended").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600)) {
    if (file_ < 0) throw std::runtime_error("live: no file to append to");
  }
  ~Bare() { close(file_); }
  Bare(const Bare&) = delete;
  Bare& operator=(const Bare&) = delete;

  void take(int samples, Sums* sums) {
    const auto start = Clock::now();
    for (int i = 1; i <= samples; ++i) {
      std::this_thread::sleep_until(start + std::chrono::microseconds(static_cast<int64_t>(i * 1e6 / kPace)));
      QCoreApplication::processEvents();
      double sum = seconds([&] { append(); });
      sum += echo_.message(kEventBytes);
      sum += seconds([&] { repaint_.once(++number_); });
      sums->row.push_back(sum);
      for (int echo = 0; echo < 2; ++echo) sum += seconds([&] { echo_.call(kEchoBytes, kEchoBytes); });
      sums->whole.push_back(sum);
    }
  }

 private:
  void append() const {
    if (write(file_, bytes_.data(), bytes_.size()) < 0 || fdatasync(file_) != 0)
      throw std::runtime_error("live: the append fails");
  }

  BareEcho echo_;
  BareRepaint repaint_;
  const std::string bytes_;
  const int file_;
  int number_ = 0;
};

std::vector<double> latencies(Desk& desk, int changes, Sums* bare) {
  const Writer writer(desk.address(), {desk.keys.front()}, {kPace, 1, changes});
  std::vector<double> times = Seen(desk, writer, changes).times();
  Bare(desk, writer.bytesOfABlock()).take(kBareSamples / 2, bare);
  return times;
}

std::vector<Result> liveLatency() {
  Desk desk;
  Sums bare;
  latencies(desk, kWarm, &bare);
  const std::vector<double> ours = latencies(desk, kChanges, &bare);
  const auto against = [&](const char* name, double part, const std::vector<double>& base) {
    return atMost(name, quantile(ours, part) * 1e3, quantile(base, part) * 1e3, "ms", 3);
  };
  return {against("live.latency.p50", 0.5, bare.whole), against("live.latency.p99", 0.99, bare.whole),
          against("live.latency.row.p50", 0.5, bare.row), against("live.latency.row.p99", 0.99, bare.row)};
}

// ---- the rate ----

double threadSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

struct Run {
  bool keepsUp = false;
  double share = 0;  // of one core, of the window's thread
};

// Two seconds of changes, many in a block so that the disk is not what limits them. The queue grows when the last
// quarter is seen later than the second by more than the noise.
Run runAt(Desk& desk, double pace) {
  const int perBlock = std::max(1, static_cast<int>(pace / kPace));
  const int changes = static_cast<int>(2 * pace) / perBlock * perBlock;
  const Writer writer(desk.address(), desk.keys, {pace, perBlock, changes});
  const double before = threadSeconds();
  std::vector<double> times;
  const double whole = seconds([&] { times = Seen(desk, writer, changes).times(); });
  const auto quarter = [&](int which) {
    const auto from = times.begin() + which * changes / 4;
    return median({from, from + changes / 4});
  };
  return {quarter(3) < 2 * quarter(1) + 0.02, (threadSeconds() - before) / whole};
}

std::vector<Result> liveRate() {
  constexpr double kPeer = 500;  // updates a second, as the best open peer claims
  constexpr double kMost = 100'000;
  Desk desk;
  const double share = runAt(desk, kPace).share;
  double pace = kPace;
  for (double next = pace; next <= kMost && runAt(desk, next).keepsUp; next *= 1.25) pace = next;
  return {atLeast("live.rate", pace, kPeer, "changes/s", 1), atMost("live.share", share * 100, 100, "% of a core", 1)};
}

}  // namespace

void addLiveBenches(Registry& registry);
void addLiveBenches(Registry& registry) {
  registry.add("live.latency", liveLatency);
  registry.add("live.rate", liveRate);
}

}  // namespace tlm::bench
