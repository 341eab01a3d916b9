// Cells of the text form of a model.
#include "sampleCell.h"

#include <TlmServer/Catalogue.h>

#include <gtest/gtest.h>

namespace tlm::server {
namespace {

TEST(SampleCell, LinesAreCutAtTabs) {
  using Cells = std::vector<std::string_view>;
  EXPECT_EQ(cellsOf(""), Cells{""});
  EXPECT_EQ(cellsOf("a\tb c\t"), (Cells{"a", "b c", ""}));
}

TEST(SampleCell, EscapesAreUndone) {
  EXPECT_EQ(cellText("plain"), "plain");
  EXPECT_EQ(cellText("a\\tb\\nc\\\\d"), "a\tb\nc\\d");
  EXPECT_EQ(cellText("\"\""), "");
  EXPECT_EQ(cellText("\"a\""), "\"a\"");
  for (const char* bad : {"a\\x", "a\\", "\\r"}) EXPECT_FALSE(cellText(bad)) << bad;
}

TEST(SampleCell, NumbersAreWholeCells) {
  EXPECT_EQ(wholeNumber("-17"), -17);
  EXPECT_EQ(wholeNumber("9223372036854775807"), 9223372036854775807);
  for (const char* bad : {"", "1x", "1.5", " 1", "9223372036854775808"}) EXPECT_FALSE(wholeNumber(bad)) << bad;
  EXPECT_EQ(realNumber("-1.5"), -1.5);
  EXPECT_EQ(realNumber("1e3"), 1000);
  for (const char* bad : {"", "1,5", "1.5x", "x"}) EXPECT_FALSE(realNumber(bad)) << bad;
}

TEST(SampleCell, DatesAreDaysSinceTheEndOf1899) {
  EXPECT_EQ(dateNumber("1899-12-30"), 0);
  EXPECT_EQ(dateNumber("1900-02-28"), 60);
  EXPECT_EQ(dateNumber("1900-03-01"), 61);
  EXPECT_EQ(dateNumber("2000-02-29"), 36585);
  EXPECT_EQ(dateNumber("2000-03-01"), 36586);
  EXPECT_EQ(dateNumber("2023-12-31"), 45291);
  EXPECT_EQ(dateNumber("2024-02-29"), 45351);
  EXPECT_EQ(dateNumber("2024-03-01"), 45352);
  EXPECT_EQ(dateNumber("2026-11-21T12:00"), 46347.5);
  EXPECT_EQ(dateNumber("2026-11-21T23:59"), 46347 + 1439 / 1440.0);
}

TEST(SampleCell, WhatIsNoDateIsNone) {
  for (const char* bad : {"",
                          "2024",
                          "2024-1-01",
                          "24-01-01",
                          "2024-01-1",
                          "2024-1-011",
                          "2024-00-10",
                          "2024-13-10",
                          "2024-01-00",
                          "2024-01-32",
                          "2024-01-01T24:00",
                          "2024-01-01T10:60",
                          "2024-01-01T10:00x",
                          "2024-01-01 10:00",
                          "2024-01-01x",
                          "21.11.2026",
                          "2024-01-01T-1:00",
                          "2024-01-01T10:-1",
                          "2023-02-29",
                          "1900-02-29",
                          "2024-04-31",
                          "-999-01-01",
                          "2024- 1-01",
                          "2024-01-01T+1:00",
                          "2024-01-01T10:00:00"})
    EXPECT_FALSE(dateNumber(bad)) << bad;
}

TEST(SampleCell, AllMeasurementsShareTheirNames) {
  const Catalogue& catalogue = Catalogue::builtIn();
  EXPECT_EQ(nameSpace(catalogue, "Analog"), "Measurement");
  EXPECT_EQ(nameSpace(catalogue, "Discrete"), "Measurement");
  EXPECT_EQ(nameSpace(catalogue, "RemoteUnit"), "RemoteUnit");
  EXPECT_EQ(nameSpace(catalogue, "RemoteUnitFolder"), "RemoteUnitFolder");
  EXPECT_EQ(keyFor("Measurement", "a"), keyOfName("Measurement:a"));
}

}  // namespace
}  // namespace tlm::server
