// The patterns by which a request or a script goes to the server; what they take they release on every path.
#ifndef TLMMEAS_REQUESTS_H
#define TLMMEAS_REQUESTS_H

#include <TlmMdx/CMDArray.h>

#include <QByteArray>
#include <QTextCodec>

#include <functional>

class CTlmCliSes;

// The codec of the server's texts, for functions that are given no module.
QTextCodec* serverCodec();

// Milliseconds that the fetch of a unit's measurements may take. -1 is no limit.
inline constexpr int kFetchTimeout = 5000;

// Status of a reply, field 0; a reply without a status counts as failed.
bool replyIsGood(const MDXCliParam* reply);

// Zero-terminated text of a reply's field, or null.
const char* replyText(const MDXCliParam* reply, int field = MDX_REPLY_PAYLOAD);

// Unpacks the table in a reply's payload. False, with the code in `out`, when there is none.
bool unpackReply(const MDXCliParam* reply, CMDArray* out, int mode);

// Sends a named request, waits without limit and hands the reply, with its status unread, to `read`. False
// when no reply came; otherwise what `read` returns. The reply lives until then.
bool requestReply(CTlmCliSes* session, const char* name, const QByteArray& body,
                  const std::function<bool(const MDXCliParam*)>& read);

// The same for replies whose status is success.
bool request(CTlmCliSes* session, const char* name, const QByteArray& body,
             const std::function<bool(const MDXCliParam*)>& read);

// Sends a named request whose reply is a packed table, and unpacks it. False, with `out` as it was or empty,
// when any step fails.
bool requestTable(CTlmCliSes* session, const char* name, const QByteArray& body, CMDArray* out);

// Runs one of the module's scripts (MeasScripts.h) and hands its result to `read`. `fill` makes the arguments
// in a value that is ready for it; null for none. False when any step fails.
bool callScript(CTlmCliSes* session, QTextCodec* codec, const char* script, const std::function<void(CVar*)>& fill,
                int timeoutMs, const std::function<void(const CVar&)>& read);

#endif
