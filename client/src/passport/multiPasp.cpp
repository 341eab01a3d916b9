#include <TlmClient/multiPasp.h>

multiPasp::~multiPasp() = default;
