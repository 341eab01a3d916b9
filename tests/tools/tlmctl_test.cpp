// The program as its user meets it: words in, texts and an exit code out.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "Tlmctl.h"

namespace tlm::test {
namespace {

class TlmctlStores : public Tlmctl {
 protected:
  void alter(const std::string& store, const std::string& sql) const {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(store.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    sqlite3_close(db);
  }

  Words generate(const std::string& seed, const std::string& name) const {
    return {"generate", "--units", "20", "--measurements=500", "--seed", seed, file(name)};
  }

  std::string dumpAll(const std::string& name) const {
    std::string all;
    for (const char* table : {"IdentifiedObject", "Measurement", "Analog", "Discrete", "Accumulator",
                              "StringMeasurement", "RemoteUnit", "RemoteUnitFolder", "Archives"})
      all += run({"dump", "--table", table, file(name)}).out;
    return all;
  }
};

TEST_F(TlmctlStores, CreateMakesAStoreWithTheSample) {
  const Result made = run({"create", file("a.tlm")});
  EXPECT_EQ(made.code, 0) << made.err;
  EXPECT_NE(made.out.find("150 units"), std::string::npos) << made.out;
  EXPECT_EQ(lines(run({"dump", "--table", "RemoteUnit", file("a.tlm")}).out).size(), 151u);
}

TEST_F(TlmctlStores, CreateEmptyMakesAStoreWithoutRows) {
  make({"create", "--empty", file("a.tlm")});
  EXPECT_EQ(lines(run({"dump", "--table", "Measurement", file("a.tlm")}).out).size(), 1u);
  EXPECT_EQ(run({"check", file("a.tlm")}).code, 0);
}

TEST_F(TlmctlStores, CreateLeavesAFileThatIsThere) {
  std::ofstream(file("a.tlm")) << "precious";
  const Result result = run({"create", file("a.tlm")});
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.err.find("exists already"), std::string::npos) << result.err;
  EXPECT_EQ(readFile(file("a.tlm")), "precious");
}

TEST_F(TlmctlStores, GenerateGivesTheSameDumpForTheSameSeed) {
  make(generate("7", "a.tlm"));
  make(generate("7", "b.tlm"));
  make(generate("8", "c.tlm"));
  const std::string first = dumpAll("a.tlm");
  EXPECT_GT(first.size(), 100000u);
  EXPECT_EQ(dumpAll("b.tlm"), first);
  EXPECT_NE(dumpAll("c.tlm"), first);
  EXPECT_EQ(lines(run({"dump", "--table", "Measurement", file("a.tlm")}).out).size(), 501u);
  EXPECT_EQ(run({"check", file("a.tlm")}).code, 0);
}

TEST_F(TlmctlStores, DumpWritesTheColumnsThatWereAskedForInThatOrder) {
  make({"create", file("a.tlm")});
  const auto rows = lines(run({"dump", "--table", "ServerGroups", "--columns", "name_,NUMBER", file("a.tlm")}).out);
  ASSERT_GE(rows.size(), 2u);
  EXPECT_EQ(rows[0], "name_\tnumber");
  EXPECT_EQ(rows[1], "Основной сбор\t1");
}

TEST_F(TlmctlStores, DumpTellsNullFromTheEmptyText) {
  make({"create", file("a.tlm")});
  auto rows = lines(run({"dump", "--table=RemoteUnit", "--columns=RemoteUnitFolderKey", file("a.tlm")}).out);
  EXPECT_EQ(std::count(rows.begin(), rows.end(), "\"\""), 1);
  EXPECT_EQ(std::count(rows.begin(), rows.end(), ""), 2);
}

TEST_F(TlmctlStores, DumpEscapesWhatWouldBreakALine) {
  make({"create", "--empty", file("a.tlm")});
  alter(file("a.tlm"),
        "INSERT INTO StateTexts (KeyLink, name_) VALUES ('00000000000000000000000000000001',"
        " 'a' || char(9) || 'b' || char(10) || '\\')");
  const auto rows = lines(run({"dump", "--table", "StateTexts", "--columns", "name_", file("a.tlm")}).out);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[1], "a\\tb\\n\\\\");
}

TEST_F(TlmctlStores, DumpShowsTheTablesThatDescribeTheCatalogue) {
  make({"create", "--empty", file("a.tlm")});
  const std::string out = run({"dump", "--table", "Tables", "--columns", "nameLat,nameLoc", file("a.tlm")}).out;
  EXPECT_NE(out.find("Measurement\tИзмерение"), std::string::npos);
}

TEST_F(TlmctlStores, CheckFindsNothingInTheSample) {
  make({"create", file("a.tlm")});
  const Result result = run({"check", file("a.tlm")});
  EXPECT_EQ(result.code, 0) << result.out;
  EXPECT_NE(result.out.find("no problems"), std::string::npos);
}

TEST_F(TlmctlStores, CheckTellsWhatContradictsItself) {
  make({"create", file("a.tlm")});
  alter(file("a.tlm"),
        "UPDATE Measurement SET RemoteUnitKey = 'GONE' WHERE locId = 1001;"
        "UPDATE Measurement SET locId = 1002 WHERE locId = 1003;"
        "DELETE FROM Analog WHERE KeyLink = (SELECT KeyLink FROM Measurement WHERE locId = 1004)");
  const Result result = run({"check", file("a.tlm")});
  EXPECT_EQ(result.code, 1);
  for (const char* words : {"(number 1001): RemoteUnitKey points at no RemoteUnit (GONE)",
                            "(number 1002): the number stands twice", "the row in Analog is missing"})
    EXPECT_NE(result.out.find(words), std::string::npos) << words << "\n" << result.out;
}

TEST_F(TlmctlStores, CheckRefusesADamagedFileAndLeavesIt) {
  make({"create", file("a.tlm")});
  std::filesystem::resize_file(file("a.tlm"), 100000);
  const std::string before = readFile(file("a.tlm"));
  const Result result = run({"check", file("a.tlm")});
  EXPECT_EQ(result.code, 1);
  EXPECT_NE(result.err.find("cut short"), std::string::npos) << result.err;
  EXPECT_EQ(readFile(file("a.tlm")), before);
}

// Looking at a store that lacks tables and columns tells it, and adds nothing.
struct Look {
  const char* name;
  Words words;
  Words says;  // in either output
};

class TlmctlLook : public TlmctlStores, public ::testing::WithParamInterface<Look> {};

TEST_P(TlmctlLook, TellsWhatIsMissingAndLeavesTheFile) {
  make({"create", file("a.tlm")});
  alter(file("a.tlm"), "DROP TABLE Analog; DROP TABLE Users; ALTER TABLE Discrete DROP COLUMN inversion");
  const std::string before = readFile(file("a.tlm"));
  Words words = GetParam().words;
  words.push_back(file("a.tlm"));
  const Result result = run(words);
  EXPECT_EQ(result.code, 1);
  for (const std::string& line : GetParam().says)
    EXPECT_NE((result.out + result.err).find(line + "\n"), std::string::npos) << result.out << result.err;
  EXPECT_TRUE(readFile(file("a.tlm")) == before);
  EXPECT_FALSE(std::filesystem::exists(file("a.tlm-wal")));
}

INSTANTIATE_TEST_SUITE_P(
    Commands, TlmctlLook,
    ::testing::Values(
        Look{"Check",
             {"check"},
             {"the table Analog is missing", "the column inversion of Discrete is missing",
              "the table Users is missing", "3 problems"}},
        Look{"DumpOfATable", {"dump", "--table", "Analog"}, {"tlmctl: the table Analog is missing"}},
        Look{"DumpOfAColumn", {"dump", "--table", "Discrete"}, {"tlmctl: the column inversion of Discrete is missing"}},
        Look{"UserList", {"user", "list"}, {"tlmctl: the table Users is missing"}}),
    [](const auto& look) { return look.param.name; });

TEST_F(TlmctlStores, AFileThatIsNotThereIsAFailure) {
  for (const Words& words : {Words{"check", file("no.tlm")}, Words{"dump", "--table", "Analog", file("no.tlm")}}) {
    const Result result = run(words);
    EXPECT_EQ(result.code, 1);
    EXPECT_NE(result.err.find(file("no.tlm")), std::string::npos) << result.err;
  }
}

TEST_F(TlmctlStores, AFullOutputIsAFailure) {
  make({"create", file("a.tlm")});
  const std::string store = " " + file("a.tlm");
  const std::string commands[] = {"dump --table Measurement" + store,
                                  "check" + store,
                                  "user list" + store,
                                  "create --empty " + file("b.tlm"),
                                  "generate --units 1 --measurements 1 --seed 1 " + file("c.tlm"),
                                  "--help",
                                  "dump --help",
                                  "--version"};
  for (const std::string& command : commands) {
    SCOPED_TRACE(command);
    const int status = std::system((std::string(TLMCTL) + " " + command + " >/dev/full 2>" + file("err")).c_str());
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1);
    EXPECT_EQ(readFile(file("err")), "tlmctl: the output cannot be written\n");
  }
}

TEST_F(TlmctlStores, HelpAndVersion) {
  const Result help = run({"--help"});
  EXPECT_EQ(help.code, 0);
  for (const char* command : {"create", "generate", "dump", "check"}) {
    EXPECT_NE(help.out.find(std::string("  ") + command), std::string::npos) << command;
    const Result own = run({command, "--help"});
    EXPECT_EQ(own.code, 0);
    EXPECT_EQ(own.out.find("usage: tlmctl "), 0u) << own.out;
  }
  EXPECT_EQ(run({"--version"}).out, "tlmctl " TLM_VERSION "\n");
}

struct Mistake {
  const char* name;
  Words words;
  const char* says;
};

class TlmctlMistake : public TlmctlStores, public ::testing::WithParamInterface<Mistake> {};

TEST_P(TlmctlMistake, IsToldWithExitCodeTwo) {
  Words words = GetParam().words;
  for (std::string& word : words)
    if (word == "FILE") word = file("new.tlm");
  const Result result = run(words);
  EXPECT_EQ(result.code, 2);
  EXPECT_NE(result.err.find(GetParam().says), std::string::npos) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_FALSE(std::filesystem::exists(file("new.tlm")));
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, TlmctlMistake,
    ::testing::Values(
        Mistake{"NoCommand", {}, "a command is missing"},
        Mistake{"UnknownCommand", {"make"}, "unknown command \"make\""},
        Mistake{"NoFile", {"create"}, "the file is missing"},
        Mistake{"EmptyFileName", {"create", ""}, "an empty file name"},
        Mistake{"TwoFiles", {"check", "a", "b"}, "more than one file: a and b"},
        Mistake{"UnknownOption", {"create", "--full", "FILE"}, "unknown option --full"},
        Mistake{"ValueOfAFlag", {"create", "--empty=yes", "FILE"}, "--empty takes no value"},
        Mistake{"OptionTwice", {"create", "--empty", "--empty", "FILE"}, "--empty stands twice"},
        Mistake{"NoValue", {"dump", "FILE", "--table"}, "--table needs a value"},
        Mistake{"OptionAsValue", {"dump", "--table", "--columns", "a", "FILE"}, "--table needs a value"},
        Mistake{"NoTable", {"dump", "FILE"}, "--table is missing"},
        Mistake{"UnknownTable", {"dump", "--table", "Nothing", "FILE"}, "there is no table \"Nothing\""},
        Mistake{"UnknownColumn", {"dump", "--table", "Analog", "--columns", "KeyLink,x", "FILE"}, "no column \"x\""},
        Mistake{"NoColumn", {"dump", "--table", "Analog", "--columns", "KeyLink,", "FILE"}, "no column \"\""},
        Mistake{"NoSeed", {"generate", "--units", "1", "--measurements", "1", "FILE"}, "--seed is missing"},
        Mistake{
            "NoUnits", {"generate", "--units", "0", "--measurements", "1", "--seed", "1", "FILE"}, "--units must be"},
        Mistake{"TooMany",
                {"generate", "--units", "1", "--measurements", "99999999", "--seed", "1", "FILE"},
                "--measurements must be a number from 0 to 20000000"},
        Mistake{"NoNumber",
                {"generate", "--units", "1x", "--measurements", "1", "--seed", "1", "FILE"},
                "--units must be a number from 1 to 20000000, not \"1x\""},
        Mistake{
            "NegativeNumber", {"generate", "--units=-3", "--measurements", "1", "--seed", "1", "FILE"}, "not \"-3\""},
        Mistake{"NumberTooLong",
                {"generate", "--units", "1", "--measurements", "1", "--seed", "99999999999999999999", "FILE"},
                "--seed must be"}),
    [](const auto& mistake) { return mistake.param.name; });

TEST_F(TlmctlStores, KeepsUsersOfAStore) {
  const std::string store = file("model.tlm");
  ASSERT_EQ(run({"create", store, "--empty"}).code, 0);
  EXPECT_EQ(run({"user", "add", "--name", "Петров", "--control", store}, "verysecret\n").code, 0);
  EXPECT_EQ(run({"user", "add", "--name", "Гость", store}, "guest\n").code, 0);
  Words users = lines(run({"user", "list", store}).out);
  std::sort(users.begin(), users.end());
  EXPECT_EQ(users, (Words{"Гость\t-", "Петров\tcontrol"}));
  EXPECT_EQ(run({"user", "add", "--name", "сбор", "--values", store}, "collects\n").code, 0);
  EXPECT_EQ(run({"user", "add", "--name", "Гость", "--values", "--control", store}, "guest\n").code, 0);
  users = lines(run({"user", "list", store}).out);
  std::sort(users.begin(), users.end());
  EXPECT_EQ(users, (Words{"Гость\tcontrol,values", "Петров\tcontrol", "сбор\tvalues"}));
  EXPECT_EQ(readFile(store).find("verysecret"), std::string::npos);
  EXPECT_EQ(run({"user", "remove", "--name", "Гость", store}).code, 0);
  EXPECT_EQ(run({"user", "remove", "--name", "Гость", store}).code, 1);
  users = lines(run({"user", "list", store}).out);
  std::sort(users.begin(), users.end());
  EXPECT_EQ(users, (Words{"Петров\tcontrol", "сбор\tvalues"}));
}

TEST_F(TlmctlStores, WantsAPasswordAndANameForAUser) {
  const std::string store = file("model.tlm");
  ASSERT_EQ(run({"create", store, "--empty"}).code, 0);
  EXPECT_EQ(run({"user", "add", "--name", "Петров", store}, "\n").code, 1);
  EXPECT_EQ(run({"user", "add", store}, "secret\n").code, 2);
  EXPECT_EQ(run({"user", store}).code, 2);
  EXPECT_EQ(run({"user", "list", store}).out, "");
}

TEST_F(TlmctlStores, TheSampleHasOneOperator) {
  const std::string store = file("model.tlm");
  ASSERT_EQ(run({"create", store}).code, 0);
  EXPECT_EQ(lines(run({"user", "list", store}).out), (Words{"Оператор\tcontrol"}));
}

}  // namespace
}  // namespace tlm::test
