// Requests by name, and what they may look at.
#ifndef TLMSERVER_REQUESTS_H
#define TLMSERVER_REQUESTS_H

#include <TlmServer/Core.h>
#include <TlmServer/LiveValues.h>
#include <TlmServer/ModelTables.h>

#include <string_view>
#include <vector>

#include "scriptAllowance.h"
#include "scriptCache.h"

namespace tlm::server {

class CatalogueParts;

// The tables are held for reading while a request runs.
struct RequestContext {
  const ModelTables& tables;
  LiveValues& live;
  const CatalogueParts& parts;
  const CoreOptions& options;
  ScriptCache& scripts;
  ScriptAllowance& allowance;
  double now;
};

// Carries out a request of the kinds packet, script and procedure.
wire::Reply answer(const RequestContext& context, const wire::Request& request);

// The answers of a block. An update has been carried out before and is answered as such. When one does not fit any
// more, neither it nor what comes behind it is answered.
std::vector<wire::Reply> answerAll(const RequestContext& context, wire::Requests requests);

// Handlers of packets, by the name of the request.
wire::Reply tableRecords(const RequestContext& context, std::string_view body);
wire::Reply tableStructure(const RequestContext& context, std::string_view body);
wire::Reply recByKeyLink(const RequestContext& context, std::string_view body);
wire::Reply recByKey(const RequestContext& context, std::string_view body);
wire::Reply objectHint(const RequestContext& context, std::string_view body);
wire::Reply liteModel(const RequestContext& context, std::string_view body);
wire::Reply serverGroups(const RequestContext& context, std::string_view body);
wire::Reply measParams(const RequestContext& context, std::string_view body);
wire::Reply valueHistory(const RequestContext& context, std::string_view body);

// Handlers of stored procedures; the argument is the packed script value of the request.
wire::Reply objectForms(const RequestContext& context, const CVar* arguments);

// What the bodies of requests have in common.
std::string_view bodyText(std::string_view body);                          // up to a terminating zero
std::string_view bodyValue(std::string_view body, std::string_view name);  // of "name=value" lines
std::optional<int64_t> parseInteger(std::string_view text);
std::optional<double> parseNumber(std::string_view text);
wire::Reply arrayReply(const RequestContext& context, const MDArray* array);

}  // namespace tlm::server

#endif
