#include "Writer.h"

#include <TlmClient/GenGuid32.h>
#include <TlmClient/NetTransport.h>
#include <TlmServer/Catalogue.h>

#include <cstdlib>
#include <stdexcept>

namespace tlm::bench {
namespace {

void setText(CMDArray& rows, MDRData* record, const char* field, const std::string& text) {
  MDRVar value{};
  value.type = MDX_TEXT;
  value.text.length = static_cast<uint32_t>(text.size());
  value.text.data = text.data();
  rows.SetVal(record, field, value);
  MDRSetUser(MDRFldByName(rows.array, field), record, 1);
}

}  // namespace

int Writer::numberOf(const std::string& name) const {
  return name.starts_with(prefix_) ? std::atoi(name.c_str() + prefix_.size()) : 0;
}

Writer::Writer(const std::string& address, std::vector<std::string> keys, Pace pace)
    : keys_(std::move(keys)),
      pace_(pace),
      prefix_(GenGuid32().right(6).toStdString() + ' '),
      at_(static_cast<size_t>(pace.changes) + 1) {
  server::Catalogue::makeStructure(*server::Catalogue::builtIn().table("IdentifiedObject"), structure_.array);
  NetLine line;
  line.address = address;
  line.user = "writer";
  std::string problem;
  transport_ = connectToServer(line, &problem);
  if (!transport_) throw std::runtime_error("live: " + problem);
  transport_->setListener(this);
  thread_ = std::thread([this] { work(); });
}

Writer::~Writer() {
  thread_.join();
  transport_.reset();
}

void Writer::onReply(uint64_t, wire::BlockReply reply) {
  if (reply.whole.status != wire::kOk) failed_ = true;
  written_ += pace_.changesPerBlock;
}

void Writer::onLost(uint64_t, const std::string&) {
  failed_ = true;
  written_ += pace_.changesPerBlock;
}

void Writer::work() {
  const auto start = Clock::now();
  const std::chrono::duration<double> each(pace_.changesPerBlock / pace_.changesPerSecond);
  for (uint64_t block = 1; sent_ < pace_.changes; ++block) {
    std::this_thread::sleep_until(start +
                                  std::chrono::duration_cast<Clock::duration>(each * static_cast<double>(block)));
    if (!transport_->send(block, nextBlock())) failed_ = true;
    transport_->nudge();
  }
}

wire::Block Writer::nextBlock() {
  CMDArray rows;
  MDACopy(rows.array, structure_.array, 0);
  const auto now = Clock::now();
  int number = sent_;
  for (int i = 0; i < pace_.changesPerBlock && number < pace_.changes; ++i) {
    at_[static_cast<size_t>(++number)] = now;
    MDRData* const record = MDARecNew(rows.array);
    setText(rows, record, "KeyLink", keys_[static_cast<size_t>(number) % keys_.size()]);
    setText(rows, record, "name_", prefix_ + std::to_string(number));
    MDRSetFlags(record, MDX_REC_UPDATE);
    rows.RecPost(record);
  }
  wire::Block block{GenGuid32().toStdString(), {}};
  block.requests.push_back({wire::RequestKind::kUpdate, "IdentifiedObject", wire::packArray(rows.array)});
  bytes_ = block.requests.front().body.size();
  sent_ = number;
  return block;
}

}  // namespace tlm::bench
