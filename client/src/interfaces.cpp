// The interfaces' destructors stand here, so that each has its type information in this library alone.
#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/ITransport.h>
#include <TlmClient/multiPasp.h>

CTlmCliSes::~CTlmCliSes() = default;
CTlmCliAbo::~CTlmCliAbo() = default;
CTlmCliApp::~CTlmCliApp() = default;

namespace tlm {

TransportListener::~TransportListener() = default;
ITransport::~ITransport() = default;
std::optional<wire::BlockReply> ITransport::carryOut(uint64_t) { return std::nullopt; }

}  // namespace tlm
