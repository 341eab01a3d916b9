// What the header promises about itself.

#include <gtest/gtest.h>

#include <cstddef>

#include "support.h"

extern "C" int runCInterface(void);

TEST(Interface, ServesAProgramInC) { EXPECT_EQ(runCInterface(), 0) << "line of c_interface.c"; }

TEST(Interface, AValueIsPacked) {
  EXPECT_EQ(sizeof(MDRVar), 14u);
  EXPECT_EQ(offsetof(MDRVar, type), 0u);
  EXPECT_EQ(offsetof(MDRVar, isNull), 1u);
  EXPECT_EQ(offsetof(MDRVar, i32), 2u);
  EXPECT_EQ(offsetof(MDRVar, i64), 2u);
  EXPECT_EQ(offsetof(MDRVar, f64), 2u);
  EXPECT_EQ(offsetof(MDRVar, text.length), 2u);
  EXPECT_EQ(offsetof(MDRVar, text.data), 6u);
}

TEST(Interface, DescriptionsHaveTheirSizes) {
  EXPECT_EQ(sizeof(MDRField), 204u);
  EXPECT_EQ(sizeof(MDRFldDesc), 80u);
  EXPECT_EQ(offsetof(MDRFldDesc, size), 64u);
  EXPECT_EQ(offsetof(MDRFldDesc, type), 65u);
  EXPECT_EQ(sizeof(MDRKeyDesc), 392u);
  EXPECT_EQ(offsetof(MDRKeyDesc, flags), 384u);
  EXPECT_EQ(offsetof(MDRKeyDesc, kind), 388u);
  EXPECT_EQ(sizeof(CVar), 24u);
}

TEST(Interface, ARowOfMeasurementsStaysSmall) {
  test::Table table({{"KeyLink", MDX_TEXT, 32},
                     {"ClassName", MDX_MEMO},
                     {"name_", MDX_MEMO},
                     {"locId", MDX_INT64},
                     {"work_", MDX_BOOL},
                     {"MeasurementCategoryKey", MDX_TEXT, 32},
                     {"RemoteUnitKey", MDX_TEXT, 32},
                     {"MeasurementArchGroupKey", MDX_TEXT, 32},
                     {"primaryLocId", MDX_INT64},
                     {"CheckTu", MDX_BOOL}},
                    {"KeyLink", "RemoteUnitKey", "locId", "primaryLocId"});
  constexpr int kCount = 50000;
  for (int i = 0; i < kCount; ++i) {
    const auto key = [](unsigned long long n) {
      char bytes[33];
      std::snprintf(bytes, sizeof bytes, "%016llX%016llX", n * 0x9E3779B97F4A7C15ull, n);
      return std::string(bytes, 32);
    };
    const std::string own = key(static_cast<unsigned>(i)), unit = key(1000000u + static_cast<unsigned>(i % 500));
    table.add({test::text(own), test::text("Accumulator"), test::text(std::string(25, '\xE0')), test::int64(i),
               test::boolean(true), test::text(unit), test::text(unit), test::text(unit), test::int64(i / 2),
               test::boolean(false)});
  }
  EXPECT_LT(MDAMemory(table.array) / kCount, 430u);
}
