// The library as a host opens it.
#include <QLibrary>

#include "ModuleWindow.h"

namespace tlm::test {
namespace {

class Entry : public testing::Test {
 protected:
  using Make = void* (*)(CTlmCliApp*, const char*);

  Entry() : server(kSmallModel), app(*server.core()), library(TLM_MEAS_LIBRARY) {
    EXPECT_TRUE(library.load()) << library.errorString().toStdString();
    make = reinterpret_cast<Make>(library.resolve("CppCliModule"));
  }
  void* module(const char* name) { return make(&app, name); }

  EmbeddedServer server;
  TestApp app;
  QLibrary library;
  Make make = nullptr;
};

TEST_F(Entry, MakesTheConfigurator) {
  ASSERT_NE(make, nullptr);
  const std::unique_ptr<CTlmCliMod> made(static_cast<CTlmCliMod*>(module("config")));
  ASSERT_NE(made, nullptr);
  EXPECT_STREQ(made->metaObject()->className(), "CTlmMeasConfig");
  EXPECT_EQ(app.modules, 1);
}

TEST_F(Entry, MakesNothingForAnyOtherName) {
  ASSERT_NE(make, nullptr);
  for (const char* name : {"", "Config", "CONFIG", "config ", "retro"}) EXPECT_EQ(module(name), nullptr) << name;
  EXPECT_EQ(module(nullptr), nullptr);
  EXPECT_EQ(app.modules, 0);
}

TEST_F(Entry, KeepsItsFlag) {
  const auto* flag = reinterpret_cast<const bool*>(library.resolve("fl_first"));
  ASSERT_NE(flag, nullptr);
  EXPECT_TRUE(*flag);
}

TEST_F(Entry, BringsItsResources) {
  const std::unique_ptr<CTlmCliMod> made(static_cast<CTlmCliMod*>(module("config")));
  for (const char* alias : {"Add",          "Del",         "Cut",
                            "Copy",         "Paste",       "Specialpaste",
                            "Find",         "Info",        "Memo",
                            "Next",         "Prev",        "Post",
                            "Cancel",       "Close",       "vline",
                            "Discrete",     "Analog",      "Accumulator",
                            "String",       "AgregData",   "RTU_meas",
                            "ClosedFolder", "OpenFolder",  "BranchOpen",
                            "BranchClose",  "branch-more", "messageBox_warning"})
    EXPECT_FALSE(QImage(QString(":/%1").arg(alias)).isNull()) << alias;
  EXPECT_TRUE(QFile::exists(":/res/TreeViewPassport.css"));
}

TEST_F(Entry, StartsAndGoes) {
  std::unique_ptr<CTlmCliMod> made(static_cast<CTlmCliMod*>(module("config")));
  made->show();
  EXPECT_EQ(made->ModuleStart(), 1);
  settle();
  EXPECT_EQ(app.title, "Конфигуратор телеметрии");
  made.reset();
  EXPECT_EQ(app.modules, 0);
}

}  // namespace
}  // namespace tlm::test
