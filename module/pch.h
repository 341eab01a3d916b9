// Precompiled for all sources of the configurator.
#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/CTlmCliSes.h>
#include <TlmClient/TlmPassport.h>
#include <TlmMdx/CMDArray.h>

#include <QtWidgets>
#include <QtXml>

#include <functional>
#include <string>
#include <vector>
