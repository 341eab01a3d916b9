#include "stationServer.h"

#include <TlmServer/Catalogue.h>
#include <TlmServer/Paths.h>
#include <TlmServer/SampleModel.h>

#include <QFile>
#include <QFileInfo>

namespace tlm {
namespace {

constexpr uint64_t kSeed = 2101;
constexpr int kTickMs = 2000;
constexpr int kPastMinutes = 30;
constexpr double kMinute = 1.0 / (24 * 60);

struct ProblemText {
  server::StoreError why;
  const char* text;
};

constexpr ProblemText kProblems[] = {
    {server::StoreError::kNotThere, "Файла модели нет."},
    {server::StoreError::kExists, "Файл с таким именем уже есть."},
    {server::StoreError::kNoStore, "Файл не является файлом модели."},
    {server::StoreError::kDamaged, "Файл модели поврежден или обрезан."},
    {server::StoreError::kNewer, "Файл модели создан более новой версией программы."},
    {server::StoreError::kReadOnly, "Файл модели или его папка недоступны для чтения или записи."},
    {server::StoreError::kHeld, "Файл модели уже открыт другим сервером или другой программой."},
    {server::StoreError::kDiskFull, "На диске нет места."},
    {server::StoreError::kOther, "Файл модели не удалось открыть."},
};

std::unique_ptr<server::Store> openStore(const std::string& path, std::string* error, server::StoreError* why) {
  const server::Catalogue& catalogue = server::Catalogue::builtIn();
  if (QFile::exists(QString::fromStdString(path))) return server::openSqliteStore(path, catalogue, error, why);
  return server::createSampleStore(path, catalogue, error, why);
}

// The user's own store, its folder made; empty with a message when there is no place for it.
QString ownStore(QString* problem) {
  std::string error;
  const std::string path = server::defaultStorePath();
  if (!path.empty() && server::makeFolder(server::dataFolder(), &error)) return QString::fromStdString(path);
  *problem = storeProblem(server::StoreError::kReadOnly, QString::fromStdString(path), QString::fromStdString(error));
  return {};
}

}  // namespace

QString storeProblem(server::StoreError why, const QString& file, const QString& detail) {
  QString text;
  for (const ProblemText& problem : kProblems) {
    if (problem.why == why) text = QString::fromUtf8(problem.text);
  }
  if (text.isEmpty()) text = QString("Файл модели не удалось открыть.");
  text += QString("\n\nФайл: %1").arg(file);
  if (!detail.isEmpty()) text += QString("\nПодробности: %1").arg(detail);
  return text;
}

std::unique_ptr<StationServer> StationServer::open(const QString& file, QString* problem) {
  const QString path = file.isEmpty() ? ownStore(problem) : file;
  if (path.isEmpty()) return nullptr;
  std::string error;
  server::StoreError why = server::StoreError::kNone;
  auto store = openStore(path.toStdString(), &error, &why);
  auto core = store ? server::Core::open(std::move(store), {}, &error) : nullptr;
  if (core) return std::make_unique<StationServer>(std::move(core), QFileInfo(path).fileName());
  // A core that does not open has met damage inside the file.
  if (why == server::StoreError::kNone) why = server::StoreError::kDamaged;
  *problem = storeProblem(why, path, QString::fromStdString(error));
  return nullptr;
}

StationServer::StationServer(std::unique_ptr<server::Core> core, QString name)
    : core_(std::move(core)), name_(std::move(name)) {}

StationServer::~StationServer() = default;

void StationServer::startSimulator() {
  simulator_ = std::make_unique<server::Simulator>(*core_, kSeed);
  const double now = server::systemTime();
  for (int minutes = kPastMinutes; minutes >= 0; --minutes) simulator_->tick(now - minutes * kMinute);
  connect(&tick_, &QTimer::timeout, this, [this] { simulator_->tick(server::systemTime()); });
  tick_.start(kTickMs);
}

}  // namespace tlm
