// Comparison and search of 8-bit texts.
#ifndef TLMSERVER_SCRIPT_TEXTS_H
#define TLMSERVER_SCRIPT_TEXTS_H

#include "Meter.h"

#include <string_view>

namespace tlm::script {

// -1, 0 or 1; bytes count as unsigned.
int compareTexts(std::string_view a, std::string_view b);

// Position of `part` in `text`, ignoring the case of ASCII and Windows-1251 letters; -1 when it is absent.
// Long searches cost steps.
int64_t findIgnoringCase(std::string_view text, std::string_view part, Meter* meter, Offset at);

}  // namespace tlm::script

#endif
