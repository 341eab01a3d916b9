#include "stationServer.h"

#include <TlmClient/NetTransport.h>
#include <TlmServer/Catalogue.h>
#include <TlmServer/Paths.h>
#include <TlmServer/SampleModel.h>

#include <QDebug>
#include <QFileInfo>

#include "host/embedded/EmbeddedTransport.h"

namespace tlm {
namespace {

constexpr uint64_t kSeed = 2101;
constexpr int kTickMs = 2000;
constexpr int kPastMinutes = 30;
constexpr int kAnswerMs = 1000;
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

// The user's own store, its folder made; empty with a message when there is no place for it.
QString ownStore(QString* problem) {
  std::string error;
  const std::string path = server::defaultStorePath();
  if (!path.empty() && server::makeFolder(server::dataFolder(), &error)) return QString::fromStdString(path);
  *problem = storeProblem(server::StoreError::kReadOnly, QString::fromStdString(path), QString::fromStdString(error));
  return {};
}

std::unique_ptr<ITransport> connectTo(const QString& address, const QString& user, QString* problem) {
  NetLine line;
  line.address = address.toStdString();
  line.user = user.toStdString();
  std::string why;
  auto transport = connectToServer(line, &why);
  if (!transport) {
    qDebug().noquote() << "line:" << QString::fromStdString(why);
    *problem = QString("Сервер «%1» не отвечает.").arg(address);
  }
  return transport;
}

std::optional<std::string> part(const MDXCliParam* reply, int position) {
  const MDRField* const field = MDXParamFld(reply, position);
  if (MDRIsNull(field, reply, nullptr) != 0) return std::nullopt;
  int length = 0;
  void* data = nullptr;
  MDRGetTextRef(field, reply, &length, &data);
  return data ? std::string(static_cast<const char*>(data), static_cast<size_t>(length)) : std::string();
}

wire::Reply replyOf(const MDXCliParam* record) {
  wire::Reply reply;
  MDRGetAsInt32(MDXParamFld(record, MDX_REPLY_STATUS), record, &reply.status);
  reply.payload = part(record, MDX_REPLY_PAYLOAD);
  reply.text = part(record, MDX_REPLY_TEXT);
  return reply;
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
  bool made = false;
  auto store = server::openOrCreateSampleStore(path.toStdString(), server::Catalogue::builtIn(), &made, &error, &why);
  auto core = store ? server::Core::open(std::move(store), {}, &error) : nullptr;
  if (core) return std::make_unique<StationServer>(std::move(core), QFileInfo(path).fileName());
  // A core that does not open has met damage inside the file.
  if (why == server::StoreError::kNone) why = server::StoreError::kDamaged;
  *problem = storeProblem(why, path, QString::fromStdString(error));
  return nullptr;
}

StationServer::StationServer(std::unique_ptr<server::Core> core, QString name)
    : core_(std::move(core)), name_(std::move(name)) {}

StationServer::StationServer(std::unique_ptr<TlmSession> session, QString address)
    : session_(std::move(session)), name_(std::move(address)) {}

StationServer::~StationServer() = default;

std::unique_ptr<StationServer> StationServer::connect(const QString& address, const QString& user, QString* problem) {
  auto transport = connectTo(address, user, problem);
  if (!transport) return nullptr;
  auto session = std::make_unique<TlmSession>(std::move(transport));
  return std::unique_ptr<StationServer>(new StationServer(std::move(session), address));
}

std::unique_ptr<ITransport> StationServer::line(const QString& user, QString* problem) {
  if (remote()) return connectTo(name_, user, problem);
  return std::make_unique<EmbeddedTransport>(*core_, server::Caller{user.toStdString()});
}

wire::Reply StationServer::ask(const std::string& request, const std::string& body) {
  if (core_) return core_->execute(wire::Request{wire::RequestKind::kPacket, request, body}, {});
  MDXCliParam* record = nullptr;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(body.data());
  if (!session_->PacketExec(request.c_str(), bytes, static_cast<int>(body.size()), &record) ||
      !session_->WaitResult(&record, kAnswerMs)) {
    return wire::Reply::failure(wire::kUnavailable, {});
  }
  wire::Reply reply = replyOf(record);
  session_->PrmFree(record);
  return reply;
}

void StationServer::startSimulator() {
  simulator_ = std::make_unique<server::Simulator>(*core_, kSeed, server::kMostSimulated, server::sampleHabits());
  const double now = server::systemTime();
  for (int minutes = kPastMinutes; minutes >= 0; --minutes) simulator_->tick(now - minutes * kMinute);
  QObject::connect(&tick_, &QTimer::timeout, this, [this] { simulator_->tick(server::systemTime()); });
  tick_.start(kTickMs);
}

}  // namespace tlm
