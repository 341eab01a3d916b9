// What operators ask that is more than reading: values by hand, commands. Each travels alone, never in a block with
// others.
#ifndef TLMSERVER_OPERATORREQUESTS_H
#define TLMSERVER_OPERATORREQUESTS_H

#include <TlmServer/LiveValues.h>
#include <TlmServer/ModelTables.h>

#include <optional>
#include <string>
#include <string_view>

#include "commandDesk.h"

namespace tlm::server {

enum class OperatorRequest { kNone, kManualValue, kRemoteControl, kCommandOutcome };

OperatorRequest operatorRequest(const wire::Request& request);

// ---- manual input ----

struct ManualPlan {
  int32_t locId = 0;
  std::string key;                 // of the measurement
  std::optional<LiveValue> value;  // absent: the manual value is lifted
};

// Looks at a request "ManualValue": "locId=N", "key=KEY" if the number must be that object's, and "value=TEXT" or
// "auto=1". Status kOk, or why it is refused.
wire::Reply planManual(const ModelTables& tables, std::string_view body, double now, ManualPlan* plan);

// ---- commands ----

// What the body of "RemoteControl" says.
struct Order {
  int32_t locId = 0;
  std::string key;  // of the object that the operator saw; empty: whichever has the number
  int state = 0;
  std::string user;  // Windows-1251; empty: who calls
  std::string password;
  std::string identity;
  double issued = 0;
};

wire::Reply readOrder(std::string_view body, Order* order);

// What the model says of an order: the signal is there, may be commanded, and is not blocked.
struct Signal {
  std::string key;
  double timeout = 0;  // days
  bool asksPassword = true;
};

wire::Reply findSignal(const ModelTables& tables, const LiveValues& live, const Order& order, Signal* signal);

}  // namespace tlm::server

#endif
