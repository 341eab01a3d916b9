// One value from the field, as people write it.
#ifndef TLMCTL_VALUELINE_H
#define TLMCTL_VALUELINE_H

#include <string>
#include <string_view>
#include <vector>

#include <tlm/v1/model.pb.h>

namespace tlm::ctl {

// The words of a line; those with blanks stand in quotation marks, in which \" and \\ are a mark and a backslash. False
// with a message in *error when a mark is not closed. `quoted` tells of each word whether it stood in marks.
bool splitWords(std::string_view line, std::vector<std::string>* words, std::vector<bool>* quoted, std::string* error);

// KEY VALUE [QUALITY [TIME]], UTF-8. False with a message in *error.
bool readValue(const std::vector<std::string>& words, bool quoted, v1::FieldValue* value, std::string* error);

// What a number in RefusedValue.why says.
std::string reasonText(int why);

}  // namespace tlm::ctl

#endif
