#include <TlmWire/messages.h>

#include <array>

namespace tlm::wire {
namespace {

void setInt(MDXCliParam* param, int position, int64_t value) {
  MDRVar v{};
  v.type = MDX_INT64;
  v.i64 = value;
  MDRSetVal(MDXParamFld(param, position), param, &v);
}

void setDouble(MDXCliParam* param, int position, double value) {
  MDRVar v{};
  v.type = MDX_DOUBLE;
  v.f64 = value;
  MDRSetVal(MDXParamFld(param, position), param, &v);
}

void setText(MDXCliParam* param, int position, const std::string& text) {
  MDRVar v{};
  v.type = MDX_MEMO;
  v.text.length = static_cast<uint32_t>(text.size());
  v.text.data = text.data();
  MDRSetVal(MDXParamFld(param, position), param, &v);
}

size_t sizeOf(const std::optional<std::string>& text) { return text ? text->size() : 0; }
size_t sizeOf(const Reply& reply) { return sizeOf(reply.payload) + sizeOf(reply.text); }

}  // namespace

size_t sizeOf(Requests requests) {
  size_t bytes = 0;
  for (const Request& request : requests) bytes += request.name.size() + request.body.size();
  return bytes;
}

size_t sizeOf(const BlockReply& reply) {
  size_t bytes = sizeOf(reply.whole);
  for (const Reply& one : reply.each) bytes += sizeOf(one);
  return bytes;
}

size_t sizeOf(const Event& event) {
  return event.key.size() + event.param.size() + event.user.size() + sizeOf(event.image);
}

MDXCliParam* replyRecord(const Reply& reply) {
  static constexpr std::array<uint8_t, 3> kTypes{MDX_INT32, MDX_MEMO, MDX_MEMO};
  MDXCliParam* param = MDXParamNew(0, kTypes.data(), static_cast<int>(kTypes.size()));
  if (!param) return nullptr;
  setInt(param, MDX_REPLY_STATUS, reply.status);
  if (reply.payload) setText(param, MDX_REPLY_PAYLOAD, *reply.payload);
  if (reply.text) setText(param, MDX_REPLY_TEXT, *reply.text);
  return param;
}

MDXCliParam* eventRecord(const Event& event) {
  static constexpr std::array<uint8_t, 8> kTypes{MDX_INT64, MDX_INT32, MDX_DOUBLE, MDX_INT32,
                                                 MDX_MEMO,  MDX_MEMO,  MDX_MEMO,   MDX_MEMO};
  MDXCliParam* param = MDXParamNew(MDX_TYPE_EVENT, kTypes.data(), static_cast<int>(kTypes.size()));
  if (!param) return nullptr;
  setInt(param, MDX_EVENT_SEQUENCE, event.sequence);
  setInt(param, MDX_EVENT_KIND, event.kind);
  setDouble(param, MDX_EVENT_TIME, event.time);
  setText(param, MDX_EVENT_KEY, event.key);
  setText(param, MDX_EVENT_PARAM, event.param);
  setText(param, MDX_EVENT_USER, event.user);
  if (event.image) setText(param, MDX_EVENT_IMAGE, *event.image);
  return param;
}

MDXCliParam* paramRecord(const ParamValue& value) {
  static constexpr std::array<uint8_t, 4> kTypes{MDX_INT32, MDX_DOUBLE, MDX_INT32, MDX_MEMO};
  MDXCliParam* param = MDXParamNew(MDX_TYPE_PARAM, kTypes.data(), static_cast<int>(kTypes.size()));
  if (!param) return nullptr;
  setInt(param, 0, value.locId);
  setDouble(param, 1, value.time);
  setInt(param, 2, value.quality);
  setText(param, 3, value.value);
  return param;
}

std::string packArray(const MDArray* array) {
  void* bytes = nullptr;
  uint32_t length = 0;
  if (MDXArrayPack(array, &bytes, &length) < 0) return {};
  std::string packed(static_cast<const char*>(bytes), length);
  MDXFree(bytes);
  return packed;
}

}  // namespace tlm::wire
