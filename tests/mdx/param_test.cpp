// Replies and events.

#include <gtest/gtest.h>

#include "support.h"

using namespace test;

TEST(Param, IsARecordOfItsOwnTable) {
  const uint8_t types[] = {MDX_INT32, MDX_MEMO, MDX_MEMO};
  MDXCliParam* reply = MDXParamNew(MDX_TYPE_PARAM, types, 3);
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(reply->typeNumber, MDX_TYPE_PARAM);
  EXPECT_STREQ(MDXParamFld(reply, 2)->name, "f2");
  EXPECT_EQ(MDXParamFld(reply, 3), nullptr);
  EXPECT_EQ(MDXParamFld(reply, -1), nullptr);
  const MDRVar status = int32(0), payload = text(std::string_view("pay\0load", 8));
  EXPECT_EQ(MDRSetVal(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status), MDX_OK);
  EXPECT_EQ(MDRSetVal(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &payload), MDX_OK);
  int32_t read = 9;
  EXPECT_EQ(MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &read), MDX_OK);
  EXPECT_EQ(read, 0);
  int length = 0;
  void* data = nullptr;
  EXPECT_EQ(MDRGetTextRef(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &length, &data), MDX_OK);
  EXPECT_EQ(length, 8);
  EXPECT_EQ(MDRIsNull(MDXParamFld(reply, MDX_REPLY_TEXT), reply, nullptr), 1);
  MDXParamFree(reply);
  MDXParamFree(nullptr);
  EXPECT_EQ(MDXParamFld(nullptr, 0), nullptr);
}

TEST(Param, ATextOfAReplyHasNoLimit) {
  const uint8_t types[] = {MDX_TEXT};
  MDXCliParam* reply = MDXParamNew(MDX_TYPE_PARAM, types, 1);
  ASSERT_NE(reply, nullptr);
  const std::string big(100000, 'b');
  const MDRVar value = text(big);
  EXPECT_EQ(MDRSetVal(MDXParamFld(reply, 0), reply, &value), MDX_OK);
  MDXParamFree(reply);
}

TEST(Param, AnEventHasItsTypeNumberAndPositions) {
  const uint8_t types[] = {MDX_INT64, MDX_INT32, MDX_DOUBLE, MDX_INT32, MDX_MEMO, MDX_MEMO, MDX_MEMO, MDX_MEMO};
  MDXCliParam* event = MDXParamNew(MDX_TYPE_EVENT, types, 8);
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(event->typeNumber, MDX_TYPE_EVENT);
  const MDRVar kind = int32(602);
  EXPECT_EQ(MDRSetVal(MDXParamFld(event, MDX_EVENT_KIND), event, &kind), MDX_OK);
  EXPECT_EQ(MDXParamFld(event, MDX_EVENT_IMAGE)->number, 7);
  MDXParamFree(event);
}

TEST(Param, WhatCannotBeIsRefused) {
  const uint8_t bad[] = {77};
  EXPECT_EQ(MDXParamNew(1, bad, 1), nullptr);
  EXPECT_EQ(MDXParamNew(1, nullptr, 1), nullptr);
  EXPECT_EQ(MDXParamNew(1, bad, -1), nullptr);
  MDXCliParam* none = MDXParamNew(1, nullptr, 0);
  EXPECT_NE(none, nullptr);
  MDXParamFree(none);
}
