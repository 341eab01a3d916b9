// The start of the workstation: its command line, its store, its library, and what it says when one is bad.
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "moduleLibrary.h"
#include "stationOptions.h"
#include "stationServer.h"
#include "support/Gui.h"

namespace tlm::test {
namespace {

struct Read {
  bool ok = false;
  StationOptions options;
  QString message;
  int exitCode = -1;
};

Read read(const QStringList& arguments) {
  Read result;
  result.ok = readOptions(arguments, &result.options, &result.message, &result.exitCode);
  return result;
}

TEST(Options, HaveDefaults) {
  const Read result = read({});
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.options.moduleName, "config");
  EXPECT_TRUE(result.options.storeFile.isEmpty());
  EXPECT_TRUE(result.options.dialogs);
  EXPECT_TRUE(result.options.simulator);
}

TEST(Options, AreRead) {
  const Read result = read({"--store", "a.tlm", "--module", "other", "--library", "lib.so", "--settings", "s.ini",
                            "--user", "ivanov", "--no-dialogs", "--no-simulator"});
  ASSERT_TRUE(result.ok);
  EXPECT_EQ(result.options.storeFile, "a.tlm");
  EXPECT_EQ(result.options.moduleName, "other");
  EXPECT_EQ(result.options.libraryFile, "lib.so");
  EXPECT_EQ(result.options.settingsFile, "s.ini");
  EXPECT_EQ(result.options.user, "ivanov");
  EXPECT_FALSE(result.options.dialogs);
  EXPECT_FALSE(result.options.simulator);
}

TEST(Options, RefuseWhatIsUnknownOrHasNoValue) {
  for (const QStringList& arguments : {QStringList{"--what"}, QStringList{"file"}, QStringList{"--store"}}) {
    const Read result = read(arguments);
    EXPECT_FALSE(result.ok);
    EXPECT_EQ(result.exitCode, kExitUsage);
    EXPECT_TRUE(result.message.contains(arguments.first()));
  }
}

TEST(Options, AnswerHelp) {
  const Read result = read({"--help"});
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.exitCode, kExitOk);
  EXPECT_TRUE(result.message.contains("--store"));
}

TEST(Options, NameAServerOnTheNetwork) {
  const Read result = read({"--server", "host:1234"});
  EXPECT_TRUE(result.ok);
  EXPECT_EQ(result.options.serverAddress, "host:1234");
}

TEST(Options, RefuseAServerBesideAStore) {
  const Read result = read({"--server", "host:1234", "--store", "a.tlm"});
  EXPECT_FALSE(result.ok);
  EXPECT_EQ(result.exitCode, kExitUsage);
}

// ---- the store ----

class StoreFile : public testing::Test {
 protected:
  QString path(const char* name) const { return folder.filePath(name); }

  static void write(const QString& file, const QByteArray& bytes) {
    QFile out(file);
    ASSERT_TRUE(out.open(QIODevice::WriteOnly));
    out.write(bytes);
  }
  static QByteArray bytesOf(const QString& file) {
    QFile in(file);
    return in.open(QIODevice::ReadOnly) ? in.readAll() : QByteArray("(absent)");
  }

  // What the user is told; empty when the store opens.
  static QString problemOf(const QString& file) {
    QString problem;
    const auto server = StationServer::open(file, &problem);
    EXPECT_EQ(server == nullptr, !problem.isEmpty());
    return problem;
  }

  QTemporaryDir folder;
};

TEST_F(StoreFile, IsMadeWithTheSampleAtTheFirstStart) {
  QString problem;
  auto server = StationServer::open(path("model.tlm"), &problem);
  ASSERT_NE(server, nullptr) << problem.toStdString();
  EXPECT_EQ(server->name(), "model.tlm");
  const std::string identity = server->core().identity();
  server.reset();
  server = StationServer::open(path("model.tlm"), &problem);
  ASSERT_NE(server, nullptr) << problem.toStdString();
  EXPECT_EQ(server->core().identity(), identity) << "the second start opens the same";
}

TEST_F(StoreFile, StandsInTheUsersFolderWhenNoneIsNamed) {
  const QByteArray before = qgetenv("XDG_DATA_HOME");
  qputenv("XDG_DATA_HOME", folder.path().toLocal8Bit());
  EXPECT_EQ(problemOf({}), QString());
  before.isEmpty() ? (void)qunsetenv("XDG_DATA_HOME") : (void)qputenv("XDG_DATA_HOME", before);
  EXPECT_TRUE(QFile::exists(path("tlm/model.tlm")));
}

TEST_F(StoreFile, IsLeftAloneWhenItIsNoStore) {
  write(path("letter.txt"), "Dear colleague,\n");
  EXPECT_TRUE(problemOf(path("letter.txt")).startsWith("Файл не является файлом модели."));
  EXPECT_EQ(bytesOf(path("letter.txt")), "Dear colleague,\n");
}

TEST_F(StoreFile, IsLeftAloneWhenItIsCutShort) {
  ASSERT_EQ(problemOf(path("model.tlm")), QString());
  const QByteArray half = bytesOf(path("model.tlm")).left(100'000);
  write(path("cut.tlm"), half);
  EXPECT_TRUE(problemOf(path("cut.tlm")).startsWith("Файл модели поврежден или обрезан."));
  EXPECT_EQ(bytesOf(path("cut.tlm")), half);
}

TEST_F(StoreFile, IsRefusedWhenAnotherServerHasIt) {
  QString problem;
  const auto first = StationServer::open(path("model.tlm"), &problem);
  ASSERT_NE(first, nullptr);
  EXPECT_TRUE(problemOf(path("model.tlm")).startsWith("Файл модели уже открыт"));
}

TEST_F(StoreFile, IsRefusedInAFolderThatIsNotThere) { EXPECT_FALSE(problemOf(path("no/such/model.tlm")).isEmpty()); }

TEST_F(StoreFile, HasARussianTextForEveryProblem) {
  for (int why = 1; why <= static_cast<int>(server::StoreError::kOther); ++why) {
    const QString text = storeProblem(static_cast<server::StoreError>(why), "file.tlm", "detail");
    EXPECT_TRUE(text.contains("file.tlm"));
    EXPECT_TRUE(text.contains("detail"));
    EXPECT_FALSE(text.startsWith('\n'));
  }
}

// ---- the library ----

TEST(Library, IsToldWhenItIsNotThere) {
  QString problem;
  EXPECT_EQ(ModuleLibrary::load("/nowhere/libTlmMeas.so.2", &problem), nullptr);
  EXPECT_TRUE(problem.startsWith("Библиотека модуля не найдена"));
}

TEST(Library, IsToldWhenItIsNone) {
  QTemporaryDir folder;
  QFile file(folder.filePath("lib.so"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("text");
  file.close();
  QString problem;
  EXPECT_EQ(ModuleLibrary::load(file.fileName(), &problem), nullptr);
  EXPECT_TRUE(problem.startsWith("Библиотека модуля не загружается"));
}

TEST(Library, IsToldWhenItHoldsNoModules) {
  QString problem;
  EXPECT_EQ(ModuleLibrary::load(TLM_OTHER_LIBRARY, &problem), nullptr);
  EXPECT_TRUE(problem.startsWith("Файл не является библиотекой модуля"));
}

// ---- the program ----

struct Ended {
  int code = -1;
  QString error;
};

Ended program(const QStringList& arguments) {
  QProcess process;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  environment.insert("QT_QPA_PLATFORM", "offscreen");
  process.setProcessEnvironment(environment);
  process.start(TLM_STATION_PROGRAM, arguments);
  EXPECT_TRUE(process.waitForFinished(60'000));
  return {process.exitCode(), QString::fromUtf8(process.readAllStandardError())};
}

TEST(Program, EndsWithACodeAndATextWhenTheServerDoesNotAnswer) {
  const Ended ended = program({"--server", "unix:/nowhere.sock"});
  EXPECT_EQ(ended.code, kExitServer);
  EXPECT_TRUE(ended.error.contains("unix:/nowhere.sock"));
}

TEST(Program, EndsWithACodeAndATextWhenTheLibraryIsBad) {
  const Ended ended = program({"--library", "/nowhere.so"});
  EXPECT_EQ(ended.code, kExitModule);
  EXPECT_TRUE(ended.error.contains("/nowhere.so"));
}

}  // namespace
}  // namespace tlm::test
