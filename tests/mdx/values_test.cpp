// The makers of values and the first questions to one.

#include <TlmMdx/values.h>
#include <gtest/gtest.h>

TEST(Values, CarryTheirTypeAndNumber) {
  EXPECT_EQ(mdx::boolVar(true).type, MDX_BOOL);
  EXPECT_EQ(+mdx::boolVar(true).flag, 1);
  EXPECT_EQ(+mdx::boolVar(false).flag, 0);
  EXPECT_EQ(mdx::int32Var(-7).type, MDX_INT32);
  EXPECT_EQ(+mdx::int32Var(-7).i32, -7);
  EXPECT_EQ(mdx::int64Var(int64_t{1} << 40).type, MDX_INT64);
  EXPECT_EQ(+mdx::int64Var(int64_t{1} << 40).i64, int64_t{1} << 40);
  EXPECT_EQ(mdx::floatVar(0.5f).type, MDX_FLOAT);
  EXPECT_EQ(+mdx::floatVar(0.5f).f32, 0.5f);
  EXPECT_EQ(mdx::doubleVar(0.25).type, MDX_DOUBLE);
  EXPECT_EQ(+mdx::doubleVar(0.25).f64, 0.25);
}

TEST(Values, PointAtTheirText) {
  const std::string_view bytes = "seven b";
  const MDRVar value = mdx::textVar(bytes);
  EXPECT_EQ(value.type, MDX_TEXT);
  EXPECT_EQ(+value.text.length, 7u);
  EXPECT_EQ(static_cast<const void*>(value.text.data), bytes.data());
  EXPECT_EQ(mdx::textVar(bytes, MDX_MEMO).type, MDX_MEMO);
}

TEST(Values, OfNothingHaveNoValue) {
  EXPECT_FALSE(mdx::hasValue(MDRVar{}));
  EXPECT_FALSE(mdx::hasValue(mdx::nullVar(MDX_INT32)));
  EXPECT_EQ(mdx::nullVar(MDX_INT32).type, MDX_INT32);
  EXPECT_TRUE(mdx::hasValue(mdx::int32Var(0)));
  EXPECT_TRUE(mdx::hasValue(mdx::textVar("")));
}

TEST(Values, OfBothTextTypesAreTextsAlsoWhenNull) {
  EXPECT_TRUE(mdx::hasTextType(mdx::textVar("")));
  EXPECT_TRUE(mdx::hasTextType(mdx::nullVar(MDX_MEMO)));
  EXPECT_FALSE(mdx::hasTextType(mdx::int32Var(0)));
  EXPECT_FALSE(mdx::hasTextType(MDRVar{}));
}
