// The operators themselves: who there is, and what is kept of them.
#include "operatorFixture.h"

namespace tlm::server::test {
namespace {

TEST_F(OperatorTest, NoRequestReachesTheServersOwnTables) {
  for (const char* name : {"Users", "ManualValues"}) {
    EXPECT_EQ(packet("TableRecords", name).status, wire::kUnknownTable);
    EXPECT_EQ(packet("TableStructure", name).status, wire::kUnknownTable);
    EXPECT_EQ(Catalogue::builtIn().table(name), nullptr);
    EXPECT_NE(Catalogue::builtIn().storedTable(name), nullptr);
  }
  EXPECT_EQ(packet("TableRecords", "Tables").payload->find("Users"), std::string::npos);
}

TEST_F(OperatorTest, UsersAreListedReplacedAndRemoved) {
  core->unsubscribe(&receipts);
  core.reset();
  const auto store = openMemoryStore(data);
  const Catalogue& catalogue = Catalogue::builtIn();
  std::string error;
  EXPECT_TRUE(addUser(*store, catalogue, {ru("Гость"), true}, "another", &error));
  std::vector<User> users;
  ASSERT_TRUE(listUsers(*store, catalogue, &users, &error));
  ASSERT_EQ(users.size(), 2u);
  for (const User& user : users) EXPECT_TRUE(user.control);
  EXPECT_TRUE(removeUser(*store, catalogue, ru("Петров"), &error));
  EXPECT_FALSE(removeUser(*store, catalogue, ru("Петров"), &error));
  ASSERT_TRUE(listUsers(*store, catalogue, &users, &error));
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0].name, ru("Гость"));
  reopen(options);
  core->setDevice(device);
  core->subscribe(&receipts, {902, 903, 904}, -1);
  EXPECT_EQ(send(body("1", "guest", "Гость")), kWrong);
  EXPECT_EQ(send(body("2", "another", "Гость")), "accepted");
  EXPECT_EQ(send(body("3")), kWrong);
}

TEST_F(OperatorTest, TheRightToHandInValuesIsOneOfItsOwn) {
  core->unsubscribe(&receipts);
  core.reset();
  std::string error;
  const auto store = openMemoryStore(data);
  ASSERT_TRUE(addUser(*store, Catalogue::builtIn(), {ru("сбор"), false, true}, "collects", &error)) << error;
  std::vector<User> users;
  ASSERT_TRUE(listUsers(*store, Catalogue::builtIn(), &users, &error));
  for (const User& user : users) EXPECT_EQ(user.values, user.name == ru("сбор"));
  reopen(options);
  core->setDevice(device);
  core->subscribe(&receipts, {902, 903, 904}, -1);
  EXPECT_EQ(core->admitValues(ru("сбор"), "collects"), Verdict::kGranted);
  EXPECT_EQ(core->admitValues(ru("сбор"), "collect"), Verdict::kWrong);
  EXPECT_EQ(core->admitValues(ru("Петров"), "verysecret"), Verdict::kNoRight);
  EXPECT_EQ(core->admitValues(ru("никто"), "collects"), Verdict::kWrong);
  EXPECT_EQ(core->admitValues("", ""), Verdict::kWrong);
  EXPECT_EQ(send(body("1", "collects", "сбор")), kNoRight);
  for (int i = 0; i < 9; ++i) EXPECT_EQ(core->admitValues(ru("сбор"), "wrong"), Verdict::kWrong);
  EXPECT_EQ(core->admitValues(ru("сбор"), "collects"), Verdict::kGranted);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(core->admitValues(ru("сбор"), "wrong"), Verdict::kWrong);
  EXPECT_EQ(core->admitValues(ru("сбор"), "collects"), Verdict::kLocked);
  now = now + 61 * kSecond;
  EXPECT_EQ(core->admitValues(ru("сбор"), "collects"), Verdict::kGranted);
}

TEST_F(OperatorTest, NamesAndPasswordsHaveBounds) {
  const auto store = openMemoryStore(makeMemoryStoreData(Catalogue::builtIn()));
  std::string error;
  const auto adds = [&](size_t name, size_t password) {
    return addUser(*store, Catalogue::builtIn(), {std::string(name, 'a'), true}, std::string(password, 'b'), &error);
  };
  EXPECT_FALSE(adds(0, 5));
  EXPECT_FALSE(adds(61, 5));
  EXPECT_FALSE(adds(5, 0));
  EXPECT_FALSE(adds(5, 129));
  EXPECT_TRUE(adds(60, 128));
}

}  // namespace
}  // namespace tlm::server::test
