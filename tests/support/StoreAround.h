// A store that passes everything on to another one: tests override what they want to be otherwise.
#ifndef TLMTEST_STOREAROUND_H
#define TLMTEST_STOREAROUND_H

#include <TlmServer/Store.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tlm::test {

class StoreAround : public server::Store {
 public:
  explicit StoreAround(std::unique_ptr<server::Store> below) : below_(std::move(below)) {}

  const std::string& identity() const override { return below_->identity(); }
  bool load(const std::string& table, MDArray* into, std::string* error) override {
    return below_->load(table, into, error);
  }
  bool commit(const server::Commit& commit, std::string* error) override { return below_->commit(commit, error); }
  bool import(const std::vector<std::pair<std::string, const MDArray*>>& tables, std::string* error) override {
    return below_->import(tables, error);
  }
  int64_t lastSequence() override { return below_->lastSequence(); }
  int64_t firstSequence() override { return below_->firstSequence(); }
  bool events(int64_t after, int64_t upTo, const std::function<bool(wire::Event&&)>& each,
              std::string* error) override {
    return below_->events(after, upTo, each, error);
  }
  bool forgetEvents(int64_t upTo, std::string* error) override { return below_->forgetEvents(upTo, error); }
  bool holdsBlock(const std::string& identity) override { return below_->holdsBlock(identity); }

 private:
  std::unique_ptr<server::Store> below_;
};

}  // namespace tlm::test

#endif
