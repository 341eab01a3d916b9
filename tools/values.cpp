#include <TlmServer/CodePage.h>

#include <fcntl.h>
#include <grpcpp/grpcpp.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

#include <tlm/v1/model.grpc.pb.h>

#include "commands.h"
#include "password.h"
#include "valueLine.h"

namespace tlm::ctl {
namespace {

constexpr auto kConnect = std::chrono::seconds(10);
constexpr int kKeepAliveMs = 10'000;
constexpr int kBatch = 1000;
constexpr size_t kLongestLine = size_t{1} << 16;

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

bool findPassword(const Arguments& arguments, std::string* password, std::string* error) {
  if (arguments.has("--password-file")) {
    const std::string& file = arguments.options.at("--password-file");
    std::ifstream in(file);
    if (!std::getline(in, *password)) return *error = "no password in " + file, false;
  } else {
    *password = environment("TLM_PASSWORD");
    if (!password->empty()) return true;
    const int terminal = open("/dev/tty", O_RDWR | O_CLOEXEC);
    if (terminal >= 0) *password = readPassword(terminal);
    if (terminal >= 0) close(terminal);
  }
  if (password->empty()) return *error = "a password is missing: --password-file or TLM_PASSWORD", false;
  return true;
}

// The stream to the server. Tells what becomes of the values as the answers come.
class Sender {
 public:
  Sender(std::string user, std::string password) : user_(std::move(user)), password_(std::move(password)) {}

  bool connect(const std::string& address, std::string* error) {
    grpc::ChannelArguments arguments;
    arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
    arguments.SetInt(GRPC_ARG_KEEPALIVE_TIME_MS, kKeepAliveMs);
    arguments.SetInt(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, kKeepAliveMs);
    const auto channel = grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments);
    if (!isThere(*channel)) return *error = "no server answers at " + address, false;
    stub_ = v1::Model::NewStub(channel);
    stream_ = stub_->PutValues(&context_);
    batch_.set_user(user_);
    batch_.set_password(password_);
    return true;
  }

  // `where` stands before a message about this value.
  v1::FieldValue* add(std::string where) {
    where_.push_back(std::move(where));
    return batch_.add_values();
  }
  void dropLast() {
    where_.pop_back();
    batch_.mutable_values()->RemoveLast();
  }
  int waiting() const { return batch_.values_size(); }

  // False when the stream has ended.
  bool flush() {
    if (!stream_->Write(batch_) || !stream_->Read(&answer_)) return false;
    taken_ += answer_.taken();
    beneath_ += answer_.beneath();
    for (const v1::RefusedValue& refused : answer_.refused()) tell(refused);
    batch_.Clear();
    where_.clear();
    return true;
  }

  void tellRefused(const std::string& where, const std::string& why) {
    std::fprintf(stderr, "tlmctl: %s%s\n", where.c_str(), why.c_str());
    ++refused_;
  }

  int end() {
    stream_->WritesDone();
    const grpc::Status status = stream_->Finish();
    std::printf("taken %zu, refused %zu\n", taken_, refused_);
    if (beneath_ > 0) std::printf("beneath values by hand %zu\n", beneath_);
    if (!status.ok()) return failed(status.error_message());
    return refused_ == 0 ? kDone : kFailed;
  }

 private:
  // The first attempt decides: nobody wants to wait for a server that is not running.
  static bool isThere(grpc::Channel& channel) {
    const auto limit = std::chrono::system_clock::now() + kConnect;
    for (;;) {
      const grpc_connectivity_state state = channel.GetState(true);
      if (state == GRPC_CHANNEL_READY) return true;
      if (state == GRPC_CHANNEL_TRANSIENT_FAILURE || !channel.WaitForStateChange(state, limit)) return false;
    }
  }

  void tell(const v1::RefusedValue& refused) {
    const std::string name = refused.has_key() ? refused.key() : "#" + std::to_string(refused.loc_id());
    const std::string where = refused.index() < where_.size() ? where_[refused.index()] : std::string();
    tellRefused(where, name + ": " + reasonText(refused.why()));
  }

  const std::string user_;
  const std::string password_;
  std::unique_ptr<v1::Model::Stub> stub_;
  grpc::ClientContext context_;
  std::unique_ptr<grpc::ClientReaderWriter<v1::ValueBatch, v1::ValueAnswer>> stream_;
  v1::ValueBatch batch_;
  std::vector<std::string> where_;
  v1::ValueAnswer answer_;
  size_t taken_ = 0;
  size_t beneath_ = 0;
  size_t refused_ = 0;
};

void takeLine(std::string_view line, size_t number, Sender* sender) {
  std::vector<std::string> words;
  std::vector<bool> quoted;
  std::string error;
  const std::string where = "line " + std::to_string(number) + ": ";
  const bool split = splitWords(line, &words, &quoted, &error);
  if (split && words.empty()) return;
  v1::FieldValue* const value = sender->add(where);
  if (split && readValue(words, words.size() > 1 && quoted[1], value, &error)) return;
  sender->dropLast();
  sender->tellRefused(where, error);
}

// Whatever has come is sent at once, so that a collector may write a line now and then. False when the stream has
// ended.
bool sendInput(Sender* sender) {
  std::array<char, kLongestLine> buffer{};
  std::string rest;
  size_t number = 0;
  for (ssize_t count = 1; count > 0;) {
    count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count > 0) rest.append(buffer.data(), static_cast<size_t>(count));
    if (count <= 0 && !rest.empty()) rest += '\n';
    size_t at = 0;
    for (size_t end = 0; (end = rest.find('\n', at)) != std::string::npos; at = end + 1) {
      takeLine(std::string_view(rest).substr(at, end - at), ++number, sender);
      if (sender->waiting() >= kBatch && !sender->flush()) return false;
    }
    rest.erase(0, at);
    if (rest.size() > kLongestLine) {
      sender->tellRefused("line " + std::to_string(number + 1) + ": ", "the line is too long");
      return true;
    }
    if (sender->waiting() > 0 && !sender->flush()) return false;
  }
  return true;
}

std::string optionOr(const Arguments& arguments, const char* option, const std::string& otherwise) {
  return arguments.has(option) ? arguments.options.at(option) : otherwise;
}

}  // namespace

int sendValues(const Arguments& arguments) {
  const Command& self = commandOf("value");
  const bool one = !arguments.words.empty();
  const bool extras = arguments.has("--quality") || arguments.has("--time");
  if (arguments.words.size() == 1 || arguments.words.size() > 2) return misused(self, "one KEY and one VALUE");
  if (extras && !one) return misused(self, "--quality and --time belong to a KEY and a VALUE; a line has its own");
  const std::string user = optionOr(arguments, "--user", environment("TLM_USER"));
  if (user.empty()) return misused(self, "--user is missing");
  std::string error;
  v1::FieldValue value;
  if (one) {
    std::vector<std::string> words = arguments.words;
    words.push_back(optionOr(arguments, "--quality", ""));
    words.push_back(optionOr(arguments, "--time", ""));
    if (!readValue(words, false, &value, &error)) return misused(self, error);
  }
  std::string password;
  if (!findPassword(arguments, &password, &error)) return failed(error);
  Sender sender(server::toCodePage(user), password);
  if (!sender.connect(arguments.options.at("--server"), &error)) return failed(error);
  if (one) *sender.add("") = value;
  if (one)
    sender.flush();
  else
    sendInput(&sender);
  return sender.end();
}

}  // namespace tlm::ctl
