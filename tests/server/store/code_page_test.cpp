#include <TlmServer/CodePage.h>
#include <gtest/gtest.h>

namespace tlm::server {
namespace {

TEST(CodePageOfTheStore, GivesEveryByteBack) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string one(1, static_cast<char>(byte));
    EXPECT_EQ(toCodePage(fromCodePage(one)), one) << byte;
  }
}

TEST(CodePageOfTheStore, ReadsRussian) {
  EXPECT_EQ(fromCodePage("\xCF\xD1 110 \xEA\xC2, \xB8\xE6, \xB9 5"), "ПС 110 кВ, ёж, № 5");
  EXPECT_EQ(toCodePage("Ток — 5 A°"), "\xD2\xEE\xEA \x97 5 A\xB0");
}

TEST(CodePageOfTheStore, SaysWhatIsLost) {
  bool lossless = true;
  EXPECT_EQ(toCodePage("x²≥\xF0\x9F\x98\x80.", &lossless), "x???.");
  EXPECT_FALSE(lossless);
}

TEST(CodePageOfTheStore, TakesNoDamagedUtf8) {
  for (const char* bad : {"\x80", "\xC3", "\xC0\xAF", "\xE2\x82", "\xF5\x80\x80\x80", "\xFF"}) {
    bool lossless = true;
    EXPECT_EQ(toCodePage(std::string(bad) + "a", &lossless).back(), 'a');
    EXPECT_FALSE(lossless) << bad;
  }
}

}  // namespace
}  // namespace tlm::server
